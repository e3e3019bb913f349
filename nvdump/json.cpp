// SPDX-License-Identifier: MIT
#include "nvdump/json.h"

Json Json_Head(const char* command, const Image& image) {
  return {
      {"schema", json_schema},
      {"command", command},
      {"source", {{"name", image.name}, {"adapter", image.adapter}, {"size", image.bytes.size()}}}};
}

std::string Json_Text(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
