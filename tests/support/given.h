// tests/support/given.h: the word "given" of the cases, which sets up the host.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/fake_host.h"

struct Given {
    bool fresh = false; // all earlier changes are taken back first
    std::vector<std::function<void(FakeHost &)>> changes;
};

// Reads what follows the word; throws WrongLine for a name or a value that CASES.md does not have.
Given readGiven(const std::string &text);
