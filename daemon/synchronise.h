// SPDX-License-Identifier: MIT
// The start of a camera that goes on to serve.
#pragma once

// Brings EEPROM and configuration into agreement: an empty EEPROM is filled, another product's
// image is restored onto a factory configuration, and whatever differs comes back from the EEPROM.
// The control socket opens on the way, so that the notices of a starting camera wait there. Returns
// what the identification section said; see eeprom/identification.h.
int Nv_Synchronise();
