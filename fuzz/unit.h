// fuzz/unit.h: the service in the fuzzer's own thread, and what must hold after every input.
#pragma once

#include "clients.h"
#include "support/fake_host.h"

extern const std::string SECRET; // all of /cfgFiles/points.xml and /page.htm, which need a session
bool filesAreWritten();          // by a request of this input

// What an input must leave behind: ordinary requests of other clients get the same bytes as from the first
// unit, and memory and descriptors are as before.
class Unchanged {
public:
    Unchanged();
    ~Unchanged();
    Unchanged(const Unchanged &) = delete;
    Unchanged &operator=(const Unchanged &) = delete;
};

// A unit as it is after its start, for one input.
struct FreshUnit : Unchanged {
    FakeHost host;
    explicit FreshUnit(bool hostSecurity);
};
