################################################################################
#
# nvd
#
################################################################################
# SPDX-License-Identifier: MIT

NVD_VERSION = 0.1.0
# An integrator who fetches the source puts its place here, and a hash file beside.
NVD_SITE = $(call qstrip,$(BR2_PACKAGE_NVD_SOURCE))
NVD_SITE_METHOD = local
NVD_LICENSE = MIT
NVD_LICENSE_FILES = LICENSE
NVD_DEPENDENCIES = pugixml
# /bin/xmlcfg is the path that the daemon asks by, with and without merged /usr.
# nvdump would need nlohmann-json as well.
NVD_CONF_OPTS = -DBUILD_TESTING=OFF -DNVD_HARDENED=ON -DNVD_NVDUMP=OFF -DCMAKE_INSTALL_BINDIR=/bin

# The build system's own scripts are started by number.
define NVD_INSTALL_INIT_SYSV
	mv $(TARGET_DIR)/etc/init.d/nvd $(TARGET_DIR)/etc/init.d/S60nvd
endef
define NVD_INSTALL_INIT_SYSTEMD
	rm $(TARGET_DIR)/etc/init.d/nvd
endef

$(eval $(cmake-package))
