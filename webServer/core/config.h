// core/config.h: the configuration that start-up takes from the environment.
#pragma once

// Fills g_webDir, g_configDir, g_sslDir, g_rootFile, g_serverPort, g_serverAddr and g_webRemote.
void readConfiguration();
