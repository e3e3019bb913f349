// SPDX-License-Identifier: MIT
// Access to the live configuration. Every operation of the daemon opens the file afresh and saves
// it only when something changed.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "param/value_slot.h"
#include "platform/libcfg.h"

// The path of the live configuration: "/etc/device.conf", unless a program that is not the daemon
// points it elsewhere before anything else.
extern const char* device_conf;

// The product number, "General.Brand.ProdNbr"; zero behind the text.
extern ValueSlot product_number;

// The index of the network-storage entry in the list Event.Server; -1 when there is none.
extern std::int32_t NsIndex;

struct CloseConfig {
  void operator()(cfg_handle* handle) const { cfg_deinit(handle); }
};

// An open configuration file; it is closed, without saving, at the end of its scope.
struct ConfigFile {
  std::unique_ptr<cfg_handle, CloseConfig> handle;
  cfg_node* root = nullptr;  // null: the file could not be loaded or holds no "root"
};

ConfigFile Nv_OpenConfig();

// A path with "%d" replaced by a number; longer ones are cut.
PathText Nv_FormatPath(std::string_view path, int index);

// A parameter's value; empty when there is no such node, or it has no value because it has
// children.
ValueSlot Nv_NodeValue(cfg_node* node);

// Asks the configuration tool for a parameter's current value. A value is cut at its first blank.
// `value` stays as it was when the tool has no answer.
void Nv_QueryParameter(const char* path, ValueSlot& value);

// Runs the camera's own command that puts the factory configuration in place, and waits for it.
void Nv_FactoryReset();

// Copies a text into the product-number buffer.
void Nv_SetProductNumber(std::string_view text);

// Copies the configuration's product number into the buffer, which stays as it was when there is
// none. Returns 0, or -1 when the configuration can't be opened.
int Nv_LoadProductNumber();

// Searches the configuration's first Event.Server entry of Type "ns" and sets NsIndex. Returns 0;
// or -1, with NsIndex unchanged, when the configuration can't be opened.
int Nv_FindNetworkStorageIndex();
