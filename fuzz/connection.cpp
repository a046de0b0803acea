// fuzz/connection.cpp: the bytes of one HTTP connection. The first byte says how they are sent, and how the
// unit is set.
#include "unit.h"

enum Options { HOST_SECURITY = 1, REFUSED = 2, STAYS = 4, IN_PIECES = 8, STRICT = 16 };

// Some targets make every file public, as docs/security.md says.
static bool mayBeGiven(const std::string &bytes)
{
    const std::size_t lineEnd = std::min(bytes.find('\n'), bytes.size());
    return bytes.find('?') < lineEnd || bytes.find("..") < lineEnd || lineEnd > 200;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const int options = *data;
    const std::string bytes(reinterpret_cast<const char *>(data + 1), size - 1);
    FreshUnit unit((options & HOST_SECURITY) != 0);
    g_webStrict = (options & STRICT) != 0 ? 1 : 0;
    unit.host.verdict = (options & REFUSED) != 0 ? WS_NOT_AUTHENTICATED : WS_ALLOWED;
    const std::string id = cookieOf(exchange({command("cgiLogin", "other"), 9}));
    unit.host.sessionId = "another";
    const std::string reply =
        exchange({bytes, 2, (options & STAYS) == 0,
                  (options & IN_PIECES) != 0 ? std::size_t{7} : bytes.size() + 1});
    must(reply.find(SECRET) == std::string::npos || (g_webStrict == 0 && mayBeGiven(bytes)),
         "a protected file", reply);
    must((options & HOST_SECURITY) == 0 || (options & REFUSED) == 0 || !filesAreWritten(),
         "a file that nobody was allowed to write", bytes);
    const std::string secret = id.substr(id.find('=') + 1, id.size() - id.find('=') - 3);
    must(reply.find(secret) == std::string::npos || bytes.find(secret) != std::string::npos,
         "another's session", reply);
    return 0;
}
