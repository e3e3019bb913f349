// SPDX-License-Identifier: MIT
// What an image does to a configuration.
#pragma once

#include <optional>

#include "config/store.h"
#include "nvdump/image.h"

struct ConfigParameter {
  std::string path;
  std::string value;
};

// All that have a value, in the configuration's order.
std::vector<ConfigParameter> Config_Parameters(cfg_node* root);

struct ParameterChange {
  std::string path;
  std::optional<std::string> before;  // none: the parameter did not exist
  std::string after;
  const char* remark = nullptr;  // why the configuration stays as it is; null: it changes
};

// Whether the image is of another product than the configuration that was opened last, which a
// start of the daemon then resets first.
bool Image_IsForeign(const Image& image);

// Puts an image's values into an open configuration, as a start of the daemon would: an image of
// another product goes into a configuration that has just been reset, and its streams are clamped.
// Saves the file at `path` as often as the daemon would, which shows in it; not at all for an empty
// path. Returns what changes, in the configuration's order, and behind it what is stored and
// differs, but stays out.
std::vector<ParameterChange> Apply(const Image& image, const ConfigFile& config,
                                   const std::string& templates, const std::string& path = {});
