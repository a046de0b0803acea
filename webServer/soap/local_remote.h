// soap/local_remote.h: the interlock that refuses commands from the network under local control.
#pragma once

// Returns 1 when a write of this type must be refused now, 0 when it may go ahead. Asks the host for types
// that the interlock covers.
extern "C" int checkLocalRemote(const char *inputType);
