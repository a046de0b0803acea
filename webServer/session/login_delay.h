// session/login_delay.h: with WEB_STRICT, makes an address wait after each failed login before the next one.
#pragma once

#include <cstdint>

// Returns true while the next login of this address comes too early. Such a login does not count as failed,
// so the wait ends even for an address that keeps trying.
bool loginIsTooEarly(uint32_t address);

// Records a failed login: the next one must wait for a second, and twice as long after each further failure,
// up to 16 seconds.
void delayNextLogin(uint32_t address);

// Forgets the failures of the address.
void forgetLoginDelay(uint32_t address);
