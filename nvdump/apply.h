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

// All of the working copy's that have a value, in its order.
std::vector<ConfigParameter> Config_Parameters();

struct ParameterChange {
  std::string path;
  std::optional<std::string> before;  // none: the parameter did not exist
  std::string after;
  const char* remark = nullptr;  // why the configuration stays as it is; null: it changes
};

// Whether the image is of another product than the working copy, which a start of the daemon then
// resets first.
bool Image_IsForeign(const Image& image);

// Puts an image's values into the working copy, by the daemon's own start: an image of another
// product goes into a configuration that has just been reset, and its streams are clamped. Returns
// what changes, in the configuration's order, and behind it what is stored and differs, but stays
// out.
std::vector<ParameterChange> Apply(const Image& image, const std::string& templates);
