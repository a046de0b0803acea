// tests/soap/contract_test.cpp: the wire form of requests and responses, over a socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_host.h"
#include "support/wire.h"

using namespace std::string_literals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Contract : public testing::Test {
protected:
    FakeHost fake;
    Service service;
};

// A body element as it stands, with the namespace in scope under the prefix n.
static std::string body(const std::string &element)
{
    std::string text = envelope("getRTU");
    const std::string original = "<n:getRTU></n:getRTU>";
    return text.replace(text.find(original), original.size(), element);
}

TEST_F(Contract, AnswersInTheVersionOfTheRequestWithoutAnEncodingStyle)
{
    const std::string eleven = service.post(envelope("getRTU"));
    EXPECT_THAT(eleven, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(eleven, HasSubstr("http://schemas.xmlsoap.org/soap/envelope/"));
    EXPECT_THAT(eleven, Not(HasSubstr("encodingStyle")));
    fake.point = "€ ś";
    EXPECT_THAT(service.post(envelope("coreDbReadData",
                                      "<inputType>analog</inputType><inputName/><inputFormat/>")),
                HasSubstr("<return>€ ś</return>"));
    const std::string twelve = service.post(envelope("getRTU", "", true));
    EXPECT_THAT(twelve, HasSubstr("http://www.w3.org/2003/05/soap-envelope"));
    EXPECT_THAT(twelve, HasSubstr("<ns:getRTUResponse><return>512Q</return></ns:getRTUResponse>"));
}

TEST_F(Contract, TakesEachChildOnceAndUnqualifiedOnly)
{
    static const struct {
        const char *children, *call;
    } CASES[] = {{"<binName i:nil='true'/><arg i:nil='1'></arg>", "fnPut(null,null,null,null)"},
                 {"<binContName/><binName></binName><arg> </arg>", "fnPut(,,null, )"},
                 {"<n:binContName>c</n:binContName>", "fnPut(null,null,null,null)"},
                 {"<arg>€ ś</arg>", "fnPut(null,null,null,€ ś)"},
                 {"<arg>first</arg><arg>second</arg>", "fnPut(null,null,null,first)"},
                 {"<arg><![CDATA[<raw>]]></arg>", "fnPut(null,null,null,<raw>)"}};
    for (const auto &row : CASES) {
        EXPECT_THAT(service.post(envelope("fnPut", row.children)), HasSubstr("<return>0</return>"));
        EXPECT_EQ(row.call, fake.calls().back()) << row.children;
    }
}

TEST_F(Contract, KnowsAnOperationByNameAndNamespaceWhateverThePrefix)
{
    const std::string unknown = "' not implemented: method name or namespace not recognized";
    const struct {
        std::string element, expected;
    } cases[] = {
        {"<getRTU xmlns='urn:soapServ'/>", "512Q"},
        {"<any:getRTU xmlns:any='urn:soapServ'/>", "512Q"},
        {"<n:getRTU xmlns:n='urn:other'/>", "Method 'n:getRTU" + unknown},
        {"<n:getNothing/>", "Method 'n:getNothing" + unknown},
        {"<getRTU/>", "Method 'getRTU" + unknown},
        {"<undeclared:getRTU/>", "Method 'undeclared:getRTU" + unknown},
        {"<n:setUserLock><userName>u</userName><lock>many</lock></n:setUserLock>", "Fault"}};
    for (const auto &row : cases)
        EXPECT_THAT(service.post(body(row.element)), HasSubstr(row.expected)) << row.element;
    EXPECT_TRUE(fake.calls().empty());
    std::string foreign = envelope("getRTU");
    foreign.replace(foreign.find("xmlsoap"), 7, "example");
    for (const std::string &noEnvelope :
         {foreign, "<n:getRTU xmlns:n='urn:soapServ'/>"s,
          "<Envelope><Body><getRTU xmlns='urn:soapServ'/></Body></Envelope>"s,
          "<Envelope E:encodingStyle='' xmlns:E='http://schemas.xmlsoap.org/soap/envelope/'>"
          "<E:Body><getRTU xmlns='urn:soapServ'/></E:Body></Envelope>"s,
          "<E:Header E:encodingStyle='' xmlns:E='http://schemas.xmlsoap.org/soap/envelope/'>"
          "<E:Body><getRTU xmlns='urn:soapServ'/></E:Body></E:Header>"s})
        EXPECT_THAT(service.post(noEnvelope), HasSubstr("<faultcode>SOAP-ENV:VersionMismatch<"));
    EXPECT_THAT(service.post("no XML at all"), HasSubstr("<faultcode>SOAP-ENV:Client<"));
}

TEST_F(Contract, HandsTheSessionCookieToTheHooksAndAnswersAQuietRefusalWith200)
{
    installSecurityHooks();
    std::string cookie = "Cookie: ";
    for (int i = 0; i < 200; ++i)
        cookie += "c" + std::to_string(i) + "=x; ";
    cookie += "SESS=x; SESSIONID=s%3D1; SESSIONID2=y\r\n";
    service.post(envelope("getUsersList"), cookie);
    service.post(envelope("getRolesList"), cookie);
    service.post(envelope("getRolesListByUser", "<userName>u</userName>"), cookie);
    service.post(envelope("setUserLock", "<userName>u</userName><lock>1</lock>"), cookie);
    service.post(envelope("getLockedUsers"), cookie);
    service.post(envelope("setUserPassword", "<userName>u</userName><passwd>p</passwd>"), cookie);
    service.post(envelope("setUserRoles", "<userName>u</userName><rolesList>r</rolesList>"),
                 cookie);
    EXPECT_EQ(
        (std::vector<std::string>{"users(s=1)", "roles(s=1)", "rolesOf(s=1,u)", "setLock(s=1,u,1)",
                                  "locked(s=1)", "setPassword(s=1,u,p)", "setRoles(s=1,u,r)"}),
        fake.calls());
    EXPECT_THAT(service.post(envelope("setUserRoles")), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(Contract, EchoesTheHeaderInResponsesAndFaults)
{
    const std::string header = "<Authentication>t&amp;k</Authentication>";
    const std::string echo = "<SOAP-ENV:Header>" + header + "</SOAP-ENV:Header>";
    for (const bool soap12 : {false, true}) {
        EXPECT_THAT(service.post(envelope("getRTU", "", soap12, header)), HasSubstr(echo));
        const std::string fault = service.post(envelope("rtuReboot", "", soap12, header));
        EXPECT_THAT(fault, HasSubstr(echo));
        EXPECT_THAT(fault, StartsWith("HTTP/1.1 500"));
        EXPECT_THAT(fault, HasSubstr(soap12 ? "<SOAP-ENV:Value>SOAP-ENV:Receiver<"
                                            : "<faultcode>SOAP-ENV:Server<"));
    }
    EXPECT_THAT(service.post(envelope("getRTU")), Not(HasSubstr("SOAP-ENV:Header>")));
}
