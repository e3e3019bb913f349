// SPDX-License-Identifier: MIT
#include "param/time_zones.h"

#include <algorithm>
#include <array>

namespace {

// As the camera's user interface shows them. The offsets are data: some are not today's.
constexpr std::array<std::string_view, 73> time_zones = {
    "GMT-12:00/Etc/GMT-12",
    "GMT-11:00/Pacific/Apia",
    "GMT-10:00/Pacific/Honolulu",
    "GMT-09:00/America/Anchorage",
    "GMT-08:00/America/Los_Angeles",
    "GMT-07:00/America/Denver",
    "GMT-07:00/America/Tegucigalpa",
    "GMT-07:00/America/Phoenix",
    "GMT-06:00/America/Winnipeg",
    "GMT-06:00/America/Mexico_City",
    "GMT-06:00/America/Chicago",
    "GMT-06:00/America/Costa_Rica",
    "GMT-05:00/America/Indianapolis",
    "GMT-05:00/America/New_York",
    "GMT-05:00/America/Bogota",
    "GMT-04:00/America/Santiago",
    "GMT-04:30/America/Caracas",
    "GMT-04:00/America/Montreal",
    "GMT-03:30/America/St_Johns",
    "GMT-03:00/America/Thule",
    "GMT-03:00/America/Buenos_Aires",
    "GMT-03:00/America/Sao_Paulo",
    "GMT-02:00/Atlantic/South_Georgia",
    "GMT-01:00/Atlantic/Cape_Verde",
    "GMT-01:00/Atlantic/Azores",
    "GMT 00:00/Europe/Dublin",
    "GMT 00:00/Africa/Casablanca",
    "GMT 01:00/Europe/Amsterdam",
    "GMT 01:00/Europe/Belgrade",
    "GMT 01:00/Europe/Brussels",
    "GMT 01:00/Europe/Warsaw",
    "GMT 01:00/Africa/Lagos",
    "GMT 02:00/Europe/Athens",
    "GMT 02:00/Europe/Bucharest",
    "GMT 02:00/Africa/Cairo",
    "GMT 02:00/Africa/Harare",
    "GMT 02:00/Europe/Helsinki",
    "GMT 02:00/Asia/Jerusalem",
    "GMT 03:00/Asia/Baghdad",
    "GMT 03:00/Asia/Kuwait",
    "GMT 03:00/Africa/Nairobi",
    "GMT 03:00/Europe/Moscow",
    "GMT 03:30/Asia/Tehran",
    "GMT 04:00/Asia/Dubai",
    "GMT 04:00/Asia/Baku",
    "GMT 04:30/Asia/Kabul",
    "GMT 05:00/Asia/Yekaterinburg",
    "GMT 05:00/Asia/Karachi",
    "GMT 05:30/Asia/Calcutta",
    "GMT 05:45/Asia/Katmandu",
    "GMT 06:00/Asia/Almaty",
    "GMT 06:00/Asia/Dhaka",
    "GMT 06:00/Asia/Colombo",
    "GMT 06:30/Asia/Rangoon",
    "GMT 07:00/Asia/Bangkok",
    "GMT 08:00/Asia/Krasnoyarsk",
    "GMT 08:00/Asia/Hong_Kong",
    "GMT 08:00/Asia/Irkutsk",
    "GMT 08:00/Asia/Kuala_Lumpur",
    "GMT 08:00/Australia/Perth",
    "GMT 08:00/Asia/Taipei",
    "GMT 09:00/Asia/Tokyo",
    "GMT 09:00/Asia/Seoul",
    "GMT 09:00/Asia/Yakutsk",
    "GMT 09:30/Australia/Adelaide",
    "GMT 10:00/Australia/Brisbane",
    "GMT 10:00/Australia/Sydney",
    "GMT 10:00/Pacific/Guam",
    "GMT 10:00/Australia/Hobart",
    "GMT 10:00/Asia/Vladivostok",
    "GMT 11:00/Asia/Magadan",
    "GMT 12:00/Pacific/Auckland",
    "GMT 12:00/Pacific/Fiji",
};

constexpr bool IsDisplayText(std::string_view text) {
  return text.size() > 10 && text.size() < 64 && text.starts_with("GMT") && text[9] == '/';
}
static_assert(std::ranges::all_of(time_zones, IsDisplayText));

}  // namespace

std::string_view TimeZone_Name(std::string_view display_text) {
  const std::size_t slash = display_text.find('/');
  return slash == std::string_view::npos ? std::string_view() : display_text.substr(slash + 1);
}

std::string_view TimeZone_DisplayText(std::string_view name) {
  std::string_view found;
  for (const std::string_view zone : time_zones) {
    if (TimeZone_Name(zone) == name) found = zone;
  }
  return found;
}
