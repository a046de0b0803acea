// tests/gsoap/service_test.cpp: what gSOAP alone would do to a unit, over a real socket.
#include <gmock/gmock.h>
#include <malloc.h>

#include "support/cases.h"
#include "support/wire.h"

using testing::HasSubstr;

extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

static std::size_t allocatedBytes()
{
    if (__sanitizer_get_current_allocated_bytes != nullptr)
        return __sanitizer_get_current_allocated_bytes();
    return mallinfo2().uordblks;
}

// gSOAP would need all of the service thread's stack.
TEST(Gsoap, SkipsElementsThatAreNotFieldsHoweverTheyNest)
{
    FakeHost fake;
    const Service service;
    const std::string ids = "xmlns:c='http://www.w3.org/2003/05/soap-encoding' c:id=";
    for (const auto &[soap12, id] : {std::pair(false, std::string("id=")), {true, ids}}) {
        const std::string nested = "{<n:fnPut " + id + "'i%i'>*5000}{</n:fnPut>*5000}";
        EXPECT_THAT(service.post(envelope("getRTU", expanded(nested), soap12)), HasSubstr("512Q"));
    }
}

TEST(Gsoap, LeavesNothingOfARequestToTheNextOne)
{
    FakeHost fake;
    fake.gateRecords = true;
    fake.verdict = 4;
    const Service service;
    const std::string asks = envelope("thmGetInfo"), stranger = "gate(127.0.0.1 http://unit/)";
    const std::string known = "gate(127.0.0.1 http://unit/ token user page a=b SESSIONID=secret)";
    const std::string headers = "Authorization: Basic dXNlcjpwdw==\r\nOrigin: page\r\n"
                                "Cookie: a=b; SESSIONID=secret; $Path=/x; $Domain=d\r\n";
    const std::string refers =
        envelope("coreDbReadData", "<inputType id='t' xmlns:p='urn:p' p:a='v'>analog</inputType>"
                                   "<inputName href='#t'/><inputFormat>%g</inputFormat>");
    const auto servesStrangers = [&] {
        service.post(envelope("thmGetInfo", "", false, "<Authentication>token</Authentication>"),
                     headers);
        talk(service.port(), "GET /page HTTP/1.1\r\n" + headers + "\r\n"); // gets no reply
        EXPECT_THAT(service.post(refers), HasSubstr("Not allowed"));
        service.post(asks);
        EXPECT_EQ("", talk(service.port(), asks)); // an envelope without HTTP
    };
    servesStrangers();
    EXPECT_EQ((std::vector<std::string>{known, stranger, stranger}), fake.calls());

    fake.forgetCalls();
    const std::size_t before = allocatedBytes();
    for (int i = 0; i < 200; ++i)
        servesStrangers();
    fake.forgetCalls();
    const std::size_t cachedByTheAllocator = 4096; // a leak of one fault would be 22,400
    EXPECT_LT(allocatedBytes(), before + cachedByTheAllocator);
}
