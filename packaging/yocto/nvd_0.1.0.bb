# SPDX-License-Identifier: MIT
SUMMARY = "Keeps an IP camera's settings in its I/O board's EEPROM"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=4e1661968e69167fcc47b9e869b33bd7"

# The source archive lies beside the recipe, in files/. An integrator who fetches it puts the place and
# its checksum here.
SRC_URI = "file://nvd-${PV}.tar.gz"

DEPENDS = "pugixml" # of the layer meta-oe

inherit cmake systemd update-rc.d

# /bin/xmlcfg is the path that the daemon asks by, with and without merged /usr.
# nvdump would need nlohmann-json as well.
EXTRA_OECMAKE = "-DBUILD_TESTING=OFF -DNVD_HARDENED=ON -DNVD_NVDUMP=OFF \
                 -DCMAKE_INSTALL_BINDIR=${base_bindir} \
                 -DNVD_UNIT_DIR=${systemd_system_unitdir}"
# A camera with its own libcfg and libnetwork: their recipes in DEPENDS in place of pugixml, and
# EXTRA_OECMAKE += "-DNVD_LIBCFG=cfg -DNVD_LIBNETWORK=network"

SYSTEMD_SERVICE:${PN} = "nvd.service"
FILES:${PN} += "${systemd_system_unitdir}/nvd-restored.service"
INITSCRIPT_NAME = "nvd"
INITSCRIPT_PARAMS = "defaults"
