################################################################################
#
# webserver: the library for an image that Buildroot makes. An example: it has not been run.
#
################################################################################

WEBSERVER_VERSION = 3.3.3
# Replace this by the place of your clone.
WEBSERVER_SITE = /path/to/webServer
WEBSERVER_SITE_METHOD = local
WEBSERVER_INSTALL_STAGING = YES
# gsoap must give its C++ library with cookies and gsoapck++.pc; host-gsoap gives soapcpp2.
WEBSERVER_DEPENDENCIES = gsoap host-gsoap host-pkgconf
WEBSERVER_CONF_OPTS = \
	-DWEBSERVER_SIM=OFF \
	-DBUILD_TESTING=OFF \
	-DSOAPCPP2=$(HOST_DIR)/bin/soapcpp2 \
	-DGSOAP_PLUGIN_DIR=$(STAGING_DIR)/usr/share/gsoap/plugin

$(eval $(cmake-package))
