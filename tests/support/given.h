// tests/support/given.h: the word "given" of the cases, which sets up the host.
#pragma once

#include <string>

#include "support/fake_host.h"

// Changes the host by "NAME=VALUE | NAME". Throws WrongLine for what CASES.md does not have.
void give(FakeHost &fake, const std::string &settings);
