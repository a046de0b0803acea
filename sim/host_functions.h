// sim/host_functions.h: what of the functions of webServerHost.h can be chosen.
#ifndef SIM_HOST_FUNCTIONS_H
#define SIM_HOST_FUNCTIONS_H

// What the database tells as its version; the text must outlive the service.
void setCoreDbVersion(const char *text);

#endif
