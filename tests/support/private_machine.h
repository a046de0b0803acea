// tests/support/private_machine.h: a private /mnt and loopback network for the process.
#pragma once

// Gives the process a /mnt with nothing but an empty web root, since the unit's fixed folders belong to the
// machine, and a loopback network without other listeners. Call it before there are threads. Returns false,
// with errno, when that is not allowed.
bool enterPrivateMachine();
