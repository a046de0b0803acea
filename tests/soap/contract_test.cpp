// tests/soap/contract_test.cpp: the wire form of requests and responses, over a socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_host.h"
#include "support/wire.h"

using namespace std::string_literals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// Declared without the generated header: it links only while operations have C linkage.
extern "C" int ns__getRTU(struct soap *, char **);

TEST(Operation, IsCalledByItsCName)
{
    char *type = nullptr;
    EXPECT_EQ(0, ns__getRTU(nullptr, &type));
    EXPECT_STREQ("512Q", type);
}

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

// What Axis 1.4 sends for an int, and some more. No call: a fault, because a reference leads nowhere.
TEST_F(Contract, FollowsReferencesToTextsAndNumbers)
{
    const std::string block = "<n:coreDbBlockPoint><inputType>status</inputType>"
                              "<inputName>p</inputName><onOff href='#1'/></n:coreDbBlockPoint>",
                      put = "<n:fnPut><binContName href='#1'/><arg href='#2'/></n:fnPut>",
                      call = "x_blockPoint(status,p,1)";
    const struct {
        std::string element, call;
    } cases[] = {{block + "<multiRef id='1' i:type='d:int' xmlns:d='urn:d'>1</multiRef>", call},
                 {block + "<m id='0'><m id='2'>2</m></m><m id='1'>1</m><m id='1'>2</m>", call},
                 {block + "<m id='1'>many</m>", ""},
                 {put + "<m id='1' href='#2'/><m id='2'>x</m>", ""},
                 {put + "<m id='1' i:nil='true'/><m id='2'>x</m>", ""},
                 {put + "<m id='2'/><m id='1'>a &amp; b</m>", "fnPut(a & b,null,null,)"},
                 {put + "<m id='1'><m id='2'>x</m></m>", ""},
                 {"<n:fnPut><binContName href='#1'/><x id='1'>c</x><arg href='#1'/></n:fnPut>",
                  "fnPut(c,null,null,c)"},
                 {"<n:setUserLock><userName>u</userName><lock href='#1'/><x id='1'>many</x>"
                  "</n:setUserLock></x></x>",
                  ""}};
    installSecurityHooks();
    for (const auto &row : cases) {
        fake.forgetCalls();
        service.post(body(row.element));
        EXPECT_EQ(row.call, fake.calls().empty() ? "" : fake.calls().back()) << row.element;
    }
    std::string text = envelope("getRTU", "", false, "<Authentication href='#1'/>");
    text.insert(text.find("</E:Body>"), "<m id='1'>t</m>");
    EXPECT_THAT(service.post(text), HasSubstr("<Authentication>t</Authentication>"));
}

TEST_F(Contract, HandsTheSessionCookieToTheHooksAndAnswersAQuietRefusalWith200)
{
    installSecurityHooks();
    std::string cookie = "Cookie: ";
    for (int i = 0; i < 200; ++i)
        cookie += "c" + std::to_string(i) + "=x; ";
    cookie += "SESS=x; SESSIONID=s%3D1; SESSIONID2=y\r\n";
    const std::string fields = "<userName>u</userName><lock>1</lock><passwd>p</passwd>"
                               "<rolesList>r</rolesList>";
    for (const char *operation :
         {"getUsersList", "getRolesList", "getRolesListByUser", "setUserLock", "getLockedUsers",
          "setUserPassword", "setUserRoles"})
        service.post(envelope(operation, fields), cookie);
    EXPECT_EQ(
        "users(s=1) roles(s=1) rolesOf(s=1,u) setLock(s=1,u,1) locked(s=1) setPassword(s=1,u,p)"
        " setRoles(s=1,u,r)",
        fake.callsText());
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
