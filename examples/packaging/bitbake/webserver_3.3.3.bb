# webserver_3.3.3.bb: the library for an image that BitBake makes. An example: it has not been run.
SUMMARY = "Network service of a remote terminal unit"
# The owner has not chosen a licence; docs/third_party.md has those of what is linked.
LICENSE = "CLOSED"

# Replace this by the place of your clone.
SRC_URI = "git:///path/to/webServer;protocol=file;branch=main"
SRCREV = "${AUTOREV}"
S = "${WORKDIR}/git"

# gSOAP's recipe must give its C++ library with cookies and gsoapck++.pc. The native one gives soapcpp2.
DEPENDS = "gsoap gsoap-native"

inherit cmake pkgconfig

EXTRA_OECMAKE = "-DCMAKE_BUILD_TYPE=Release -DWEBSERVER_SIM=OFF -DBUILD_TESTING=OFF \
  -DSOAPCPP2=${STAGING_BINDIR_NATIVE}/soapcpp2 -DGSOAP_PLUGIN_DIR=${STAGING_DATADIR}/gsoap/plugin"

# The firmware, which is linked with the library, defines the functions that it leaves undefined.
FILES:${PN}-dev += "${libdir}/cmake ${datadir}/webServer"
