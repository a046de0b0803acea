// tests/soap/contract_test.cpp: the wire form of the 22 operations, in SOAP 1.1 and 1.2.
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_host.h"
#include "support/wire.h"

using testing::HasSubstr;

struct Operation {
    const char *name;
    std::vector<const char *> children; // in order
    const char *content;                // of the response
    const char *call;                   // the host's share; null: none
};

static const Operation OPERATIONS[] = {
    {"coreDbReadData",
     {"<inputType>analog</inputType>", "<inputName>A</inputName>", "<inputFormat>%g</inputFormat>"},
     "<return>at A</return>",
     "x_readData(analog,A,%g)"},
    {"coreDbReadMultData",
     {"<inputType>analog</inputType>", "<inputNames>[A][B]</inputNames>",
      "<inputFormat>%d</inputFormat>", "<inputNum>2</inputNum>"},
     "<return>[at A][at B]</return>",
     "x_readData(analog,B,%d)"},
    {"coreDbKrunchData",
     {"<inputType>status</inputType>", "<inputName>A</inputName>", "<value>1</value>"},
     "<return>7</return>",
     "x_krunchData(status,A,1)"},
    {"coreDbBlockPoint",
     {"<inputType>status</inputType>", "<inputName>A</inputName>", "<onOff>1</onOff>"},
     "<return>7</return>",
     "x_blockPoint(status,A,1)"},
    {"rtuReboot",
     {"<user>u</user>", "<password>p</password>"},
     "<return>7</return>",
     "usrReboot()"},
    {"thmSetTime",
     {"<inputTime>24:02:29:13:05:00</inputTime>"},
     "<return>0</return>",
     "thmSetTime(1709211900,0,0)"},
    {"thmGetInfo", {}, "<return>24:02:29:13:05:07|2</return>", nullptr},
    {"baselineShowVer", {}, "<return>baseline</return>", nullptr},
    {"fnPutS",
     {"<binContName>c</binContName>", "<binName>b</binName>", "<function>f</function>",
      "<arg>a</arg>", "<timeout>3</timeout>"},
     "<return>\xC5\x9B</return>",
     "fnPutS(c,b,f,a,128,3)"},
    {"fnPut",
     {"<binContName>\xE2\x82\xAC</binContName>", "<binName>b</binName>", "<function>f</function>",
      "<arg>&lt;&amp;\xC5\x9B</arg>"},
     "<return>7</return>",
     "fnPut(\xE2\x82\xAC,b,f,<&\xC5\x9B)"},
    {"coreDbKrunchDataQuality",
     {"<inputType>analog</inputType>", "<inputName>A</inputName>", "<value>1</value>",
      "<flags>F</flags>"},
     "<return>7</return>",
     "x_krunchDataQuality(analog,A,1,F)"},
    {"getUserAuth", {}, "<return>200</return>", nullptr},
    {"getRbacPerm", {}, "<return>3</return>", nullptr},
    {"getUsersList", {}, "<return>ann bob </return>", "list(s=1)"},
    {"getRolesList", {}, "<return>ann bob </return>", "list(s=1)"},
    {"getRolesListByUser",
     {"<userName>u</userName>"},
     "<return>ann bob </return>",
     "listByUser(s=1,u)"},
    {"setUserRoles",
     {"<userName>u</userName>", "<rolesList>r s</rolesList>"},
     "<return>7</return>",
     "set(s=1,u,r s)"},
    {"setUserPassword",
     {"<userName>u</userName>", "<passwd>p</passwd>"},
     "<return>7</return>",
     "set(s=1,u,p)"},
    {"getUserLockState", {"<userName>u</userName>"}, "<return>0</return>", nullptr},
    {"getLockedUsers", {}, "<return>ann bob </return>", "list(s=1)"},
    {"setUserLock",
     {"<userName>u</userName>", "<lock>2</lock>"},
     "<return>7</return>",
     "lock(s=1,u,2)"},
    {"getRTU", {}, "<return>512Q</return>", nullptr},
};

class Contract : public testing::Test {
protected:
    FakeHost fake;
    Contract()
    {
        setenv("TZ", "UTC0", 1);
        tzset();
        installSecurityHooks();
        fake.read = [](const char *name, char *text) { return sprintf(text, "at %s", name), 0; };
        fake.status = 7;
        fake.answer = std::string("\xC5\x9B\0", 3);
        fake.now = 1709211907; // 2024-02-29 13:05:07
        fake.names = {"ann", "", "bob"};
        fake.namesCount = 3;
    }
};

TEST_F(Contract, EveryOperationInBothVersionsWithItsChildrenInAnyOrder)
{
    const Service service;
    for (const Operation &operation : OPERATIONS)
        for (const bool soap12 : {false, true})
            for (const bool reversed : {false, true}) {
                SCOPED_TRACE(std::string(operation.name) + (soap12 ? " 1.2" : " 1.1")
                             + (reversed ? ", reversed, among strangers" : ""));
                std::string children = reversed ? "<stranger>x</stranger>" : "";
                for (const char *child : operation.children)
                    children = reversed ? child + children : children + child;
                const std::size_t before = fake.calls().size();
                const std::string reply = service.post(envelope(operation.name, children, soap12),
                                                       "Cookie: SESSIONID=s%3D1\r\n");
                EXPECT_THAT(reply, testing::StartsWith("HTTP/1.1 200 OK\r\n"));
                const std::string element = std::string("ns:") + operation.name + "Response>";
                EXPECT_THAT(reply, HasSubstr("<" + element + operation.content + "</" + element));
                EXPECT_EQ(soap12, reply.find("2003/05/soap-envelope") != std::string::npos);
                EXPECT_EQ(std::string::npos, reply.find("encodingStyle"));
                ASSERT_EQ(operation.call == nullptr, fake.calls().size() == before);
                if (operation.call != nullptr) {
                    EXPECT_EQ(operation.call, fake.calls().back());
                }
            }
}

TEST_F(Contract, ChildrenMayBeMissingNilEmptyOrQualified)
{
    const Service service;
    static const struct {
        const char *children;
        const char *call;
    } CASES[] = {
        {"", "fnPut(null,null,null,null)"},
        {"<binName>b</binName>", "fnPut(null,b,null,null)"},
        {"<binName i:nil='true'/><arg i:nil='true'></arg>", "fnPut(null,null,null,null)"},
        {"<binContName/><binName></binName><function/><arg/>", "fnPut(,,,)"},
        {"<n:binContName>c</n:binContName><n:arg>a</n:arg>", "fnPut(null,null,null,null)"},
        {"<arg>first</arg><arg>second</arg>", "fnPut(null,null,null,first)"},
        {"<arg><![CDATA[<raw>]]></arg>", "fnPut(null,null,null,<raw>)"},
    };
    for (const auto &row : CASES) {
        EXPECT_THAT(service.post(envelope("fnPut", row.children)), HasSubstr("<return>7</return>"));
        EXPECT_EQ(row.call, fake.calls().back()) << row.children;
    }
}

// The envelope of getRTU with one text exchanged for another, everywhere.
static std::string changed(const std::string &what, const std::string &instead)
{
    std::string text = envelope("getRTU");
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += instead.size())
        text.replace(at, what.size(), instead);
    return text;
}

TEST_F(Contract, KnowsAnOperationByNameAndNamespaceWhateverThePrefix)
{
    const Service service;
    const std::string unknown = "' not implemented: method name or namespace not recognized";
    const struct {
        std::string request, expected;
    } cases[] = {
        {changed("n:getRTU", "undeclared:getRTU"), "Fault"},
        {changed("getRTU", "getNothing"), "Method 'n:getNothing" + unknown},
        {changed("urn:soapServ", "urn:other"), "Method 'n:getRTU" + unknown},
        {envelope("setUserLock", "<userName>u</userName><lock>many</lock>"), "Fault"},
    };
    for (const auto &row : cases) {
        const std::string reply = service.post(row.request);
        EXPECT_THAT(reply, testing::Not(HasSubstr("512Q"))) << row.request;
        EXPECT_THAT(reply, HasSubstr(row.expected)) << row.request;
    }
    EXPECT_TRUE(fake.calls().empty());
    for (const auto &prefix :
         {changed("n:getRTU", "getRTU xmlns='urn:soapServ'"), // the default one
          changed("n:getRTU", "any:getRTU xmlns:any='urn:soapServ'")}) {
        const std::size_t end = prefix.find("xmlns", prefix.find("</"));
        EXPECT_THAT(service.post(prefix.substr(0, end - 1) + "></E:Body></E:Envelope>"),
                    HasSubstr("512Q"));
    }
}

TEST_F(Contract, EchoesTheHeaderInResponsesAndFaults)
{
    const Service service;
    const std::string header = "<Authentication>t&amp;k</Authentication>";
    const std::string echo = "<SOAP-ENV:Header>" + header + "</SOAP-ENV:Header>";
    for (const bool soap12 : {false, true}) {
        EXPECT_THAT(service.post(envelope("getRTU", "", soap12, header)), HasSubstr(echo));
        const std::string fault = service.post(envelope("coreDbReadData", "", soap12, header));
        EXPECT_THAT(fault, HasSubstr(echo));
        EXPECT_THAT(fault, testing::StartsWith("HTTP/1.1 500"));
        EXPECT_THAT(fault, HasSubstr("WebServer Error: Invalid parameters"));
        EXPECT_THAT(fault, HasSubstr(soap12 ? "<SOAP-ENV:Value>SOAP-ENV:Receiver<"
                                            : "<faultcode>SOAP-ENV:Server<"));
        EXPECT_THAT(fault,
                    HasSubstr(soap12 ? "<SOAP-ENV:Detail>ns__coreDbReadData</SOAP-ENV:Detail>"
                                     : "<detail>ns__coreDbReadData</detail>"));
    }
    EXPECT_THAT(service.post(envelope("getRTU")), testing::Not(HasSubstr("SOAP-ENV:Header>")));
}
