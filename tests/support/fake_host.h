// tests/support/fake_host.h: a host under a test's control; nothing reboots, and waiting is short.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "webServer.h"
#include "webServerHost.h"

// Only one may exist at a time. It sets settings and hooks to their values at load, and installs a gate.
class FakeHost {
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    std::string log_;
    // Until the end of the expression that makes one. g++ 14 refuses a lock_guard there.
    struct Lock {
        std::lock_guard<std::mutex> guard;
        explicit Lock(std::mutex &mutex) : guard(mutex) {}
    };

public:
    FakeHost();
    ~FakeHost();

    // What the host answers.
    int verdict = WS_ALLOWED;
    bool gateRecords = false; // what the gate finds in each request
    int status = 0;           // of every function that has no result below
    std::string point;        // the text of every point but "silent"; "@": its name
    int readResult = 0;       // of every point but "bad", which is not found
    bool silent = false;      // writes no texts
    std::string answer;       // of fnPutS
    int answerStatus = 0;
    std::optional<std::string> coreDbVersion = "coreDb: 10.00";
    int timeModule = 1;
    int timeSource = 2;
    int level = 50;        // of the credential check
    std::string sessionId; // that it writes, without a terminator
    int sessionStatus = 0;
    uint32_t milliseconds = 0;              // of sysCnt1mlsg
    int strdups = -1;                       // that succeed before one fails; negative: all
    std::size_t refusedBytes = 0;           // a request for exactly so much memory fails
    int createError = 0;                    // of pthread_create; 0: it works
    int detachError = 0;                    // of pthread_detach, which works all the same
    bool noRandom = false;                  // getrandom fails; else each byte is an "r"
    bool noTime = false;                    // mktime fails
    std::atomic<int> cpuSecondsPerLook{-1}; // that each reading adds; negative: the real time
    std::atomic<int> sendfileError{0};      // of sendfile; 0: it works
    time_t now = 0;                         // of the real-time clock; 0: the machine's
    std::vector<std::string> names;         // of the list hooks; "" stands for a null entry
    int namesCount = 0;

    // What the library did.
    static constexpr int NOT_ASKED = -1;
    std::atomic<int> trims{0};  // how often the library called malloc_trim()
    int askedLevel = NOT_ASKED; // of the gate, last
    bool gateAtStart = false;   // there was one when the thread was created

    // "x_readData(analog,A,%d)", in order, or "f(a,b) g()"; and the lines "E text", "W text", "I text".
    std::vector<std::string> calls() const { return Lock{mutex_}, calls_; }
    std::string callsText() const;
    void forgetCalls() { Lock{mutex_}, decltype(calls_)().swap(calls_); } // and their memory
    std::string log() const { return Lock{mutex_}, log_; }

    void record(const std::string &call) { Lock{mutex_}, calls_.push_back(call); }
    void write(const std::string &line) { Lock{mutex_}, log_ += line + "\n"; }
};

FakeHost &host(); // the one that exists
bool hostExists();

// Lets the monotonic clock jump ahead, for good.
void skipTime(int milliseconds);

// Waits, for at most ten seconds, until the condition holds.
bool waitFor(const std::function<bool()> &condition);

// Turns the host's security on and installs all its hooks. Removes all hooks but the gate.
void installSecurityHooks();
void removeSecurityHooks();
