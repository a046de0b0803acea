// tests/gsoap/service_test.cpp: what gSOAP alone would do to a unit, over a real socket.
#include <chrono>
#include <gmock/gmock.h>
#include <malloc.h>
#include <soapH.h>

#include "http/cookies.h"
#include "net/slow_client.h"

using testing::HasSubstr;

extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

static std::size_t allocatedBytes()
{
    if (__sanitizer_get_current_allocated_bytes != nullptr)
        return __sanitizer_get_current_allocated_bytes();
    return mallinfo2().uordblks;
}

class Gsoap : public testing::Test {
protected:
    FakeHost fake;
    const Service service;
};

TEST_F(Gsoap, HangsUpOnWhatCostsTooMuch)
{
    std::string attributes = "<x"; // the envelope has three more
    for (int i = 4; i <= 1000; ++i)
        attributes += " a" + std::to_string(i) + "=''";
    const std::string rest =
        ">" + std::string(5000, 'x') + "</x>"; // received after they were counted
    EXPECT_THAT(service.post(envelope("getRTU", attributes + rest)), HasSubstr("512Q"));
    EXPECT_THAT(service.post(envelope("getRTU", attributes + " b=''" + rest)),
                testing::Not(HasSubstr("512Q")));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ("", talk(service.port(), "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n5;"
                                           + std::string(40U << 20, 'x')));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    EXPECT_THAT(service.post(envelope("getRTU")), HasSubstr("512Q"));
}

// gSOAP would need all of the stack for the nested ones, and minutes for the references.
TEST_F(Gsoap, SkipsElementsThatAreNotFieldsHoweverTheyNestAndRefer)
{
    const std::string spaces = " xmlns:d='http://www.w3.org/2001/XMLSchema'"
                               " xmlns:c='http://www.w3.org/2003/05/soap-encoding'";
    const auto begin = std::chrono::steady_clock::now();
    for (const bool soap12 : {false, true}) {
        const std::string id = soap12 ? " c:id='" : " id='",
                          ref = soap12 ? " c:ref='#" : " href='#";
        std::string nested, ends, references;
        for (int i = 0; i < 5000; ++i) {
            const std::string own = id + "i" + std::to_string(i) + "'";
            nested += "<n:fnPut" + own + ">";
            ends += "</n:fnPut>";
            references.append("<d:int").append(own).append(ref);
            references.append("i" + std::to_string(i + 1) + "'/>");
        }
        references += "<d:int" + id + "i5000'>1</d:int>";
        std::string afterBody = envelope("getRTU", "", soap12);
        afterBody.insert(afterBody.find("</E:Body>"), references);
        for (std::string text : {envelope("getRTU", nested + ends, soap12),
                                 envelope("getRTU", references, soap12), afterBody}) {
            text.insert(text.find(" xmlns:n="), spaces);
            EXPECT_THAT(service.post(text), HasSubstr("512Q"));
        }
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST_F(Gsoap, LimitsTheSizeOfARequestAndItsProcessorTime)
{
    fake.cpuSecondsPerLook = 1;
    // From the second receive on the time is looked at before every 4096 bytes.
    const auto put = [](std::size_t bytes) {
        return envelope("fnPut", "<arg>" + std::string(bytes, 'x') + "</arg>");
    };
    const std::string four = put(15000), five = put(18000);
    EXPECT_THAT(service.post(four), HasSubstr("200 OK"));
    EXPECT_EQ("", service.post(five));
    // The echoed header is written as five bytes for each of its characters, once to count and once to send.
    const auto echoed = [](std::size_t characters) {
        return envelope("getRTU", "", false,
                        "<Authentication>" + std::string(characters, '\x01') + "</Authentication>");
    };
    EXPECT_THAT(service.post(echoed(1000)), HasSubstr("512Q"));
    EXPECT_EQ("", service.post(echoed(2000)));
    fake.cpuSecondsPerLook = 0;
    EXPECT_THAT(service.post(five), HasSubstr("200 OK"));
    fake.forgetCalls();
    const std::string form = "POST /x HTTP/1.1\r\n" + FORM + "Content-Length: ";
    for (const char *length : {"18446744073709551615", "2147483648", "1"}) // the last one is read
        talk(service.port(), form + length + "\r\n\r\nx", "127.0.0.1", true);
    EXPECT_LT(fake.largestPiece, 1U << 20);
    EXPECT_THAT(service.post(echoed(3U << 20)), HasSubstr("512Q"));
    EXPECT_THAT(service.post(echoed(4U << 20)), HasSubstr("content length violation"));
    const std::size_t header = 96; // counts as well
    const std::size_t rest = (16U << 20) - header - put(0).size();
    EXPECT_THAT(service.post(put(rest)), HasSubstr("200 OK"));
    fake.forgetCalls();
    EXPECT_THAT(service.post(put(rest + 1)), testing::Not(HasSubstr("200 OK")));
    EXPECT_TRUE(fake.calls().empty());
    EXPECT_THAT(service.post(envelope("getRTU")), HasSubstr("512Q"));
}

TEST_F(Gsoap, SendsFaultsToClientsThatHaveEndedTheirSide)
{
    for (const char *method : {"POST", "PUT"}) {
        const std::string request = method + httpPost("", envelope("none")).substr(strlen("POST"));
        EXPECT_THAT(talk(service.port(), request, "127.0.0.1", true), HasSubstr("<faultcode>"));
    }
}

TEST(Limits, TheEnvironmentSetsTheProcessorTime)
{
    setenv("WEB_CPU_MS", "4000", 1);
    FakeHost fake;
    fake.cpuSecondsPerLook = 1;
    const Service service;
    unsetenv("WEB_CPU_MS");
    const auto reply = [&](std::size_t bytes) {
        return service.post(envelope("fnPut", "<arg>" + std::string(bytes, 'x') + "</arg>"));
    };
    EXPECT_THAT(reply(18000), HasSubstr("200 OK"));
    EXPECT_EQ("", reply(30000));
}

// Records what a gate finds in the context of a request.
static int describeRequest(struct soap *soap, int)
{
    std::string found;
    const char *header = soap->header == nullptr ? nullptr : soap->header->Authentication;
    for (const char *text : {sessionCookie(soap), header, soap->userid, soap->origin})
        found += std::string(text == nullptr ? "-" : text) + " ";
    host().record(found + soap->path);
    return 4;
}

TEST_F(Gsoap, LeavesNothingOfARequestToTheNextOne)
{
    __atomic_store_n(&pgf_parseAuth, &describeRequest, __ATOMIC_RELEASE);
    const std::string asks = envelope("thmGetInfo"), known = "secret token user page /";
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
    EXPECT_EQ((std::vector<std::string>{known, "- - - - /", "- - - - /"}), fake.calls());

    fake.forgetCalls();
    const std::size_t before = allocatedBytes();
    for (int i = 0; i < 200; ++i)
        servesStrangers();
    fake.forgetCalls();
    const std::size_t cachedByTheAllocator = 4096; // a leak of one fault would be 22,400
    EXPECT_LT(allocatedBytes(), before + cachedByTheAllocator);
}
