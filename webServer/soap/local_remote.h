// soap/local_remote.h: the interlock that keeps the network's hands off a unit under local control.
#pragma once

// 1: a write of this type must be refused now; 0: it may go ahead.
extern "C" int checkLocalRemote(const char *inputType);
