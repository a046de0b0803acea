// core/config.h: the configuration that the start takes from the environment.
#pragma once

// Reads the environment and writes g_webDir, g_configDir, g_sslDir, g_rootFile, g_serverPort,
// g_serverAddr, g_webRemote, g_webStrict and g_webCpuMs. Returns 0; logs and returns -1 when there is no
// memory for a text.
int readConfiguration();

// Logs a warning when the web root is missing or cannot be searched. The service starts all the same, and
// serves files that appear later.
void reportMissingWebRoot();
