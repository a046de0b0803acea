// tests/support/cases_test.cpp: the runner of the cases must fail where a case is wrong, once and at its line.
#include <cstring>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sstream>

#include "support/cases.h"

struct WrongCases {
    const char *text;     // of a case file
    const char *failures; // "LINE: MESSAGE" for each, or how each begins
};

static std::vector<Section> sectionsOf(const std::string &text)
{
    std::istringstream file(text);
    return readSections(file);
}

template <std::size_t N> static void expectFailures(const WrongCases (&rows)[N], MakeDialect make)
{
    for (const WrongCases &row : rows) {
        std::string got;
        std::size_t count = 0;
        for (const Section &section : sectionsOf(row.text))
            for (const Failure &failure : run(section, make)) {
                got += std::to_string(failure.line) + ": " + failure.message + "\n";
                ++count;
            }
        EXPECT_EQ(count, *row.failures == '\0' ? 0 : split(row.failures, "\n").size()) << got;
        EXPECT_EQ(row.failures, got.substr(0, strlen(row.failures))) << row.text;
    }
}

TEST(CaseRunner, FindsEveryFaultOfAFile)
{
    static const WrongCases ROWS[] = {
        {"[A]\ngetRTU -> return 512Q", ""},
        {"", "1: no section"},
        {"# [A]\n", "1: no section"},
        {"getRTU -> return 512Q\n[A]\ngetRTU -> return 512Q", "1: a line before the first title"},
        {"[A]\n[B]\ngetRTU -> return 512Q", "1: a section without a request"},
        {"[A]\ngetRTU -> return 512Q\n[B]\ngiven silent", "3: a section without a request"},
        {"[A b]\ngetRTU -> return 512Q\n[A, b]\ngetRTU -> return 512Q",
         "3: a second section of this title"},
        {"[A\ngetRTU -> return 512Q", "1: a title is written [Title]"},
        {"[]\ngetRTU -> return 512Q", "1: a title is written [Title]"},
        {"[A]\ngetRTU -> return 512Q ", "2: ends in a space or in a control character"},
        {"[A]\ngetRTU -> return 512Q\r\n", "2: ends in a space or in a control character"},
        {"[A]\nfnPut arg={x*3 -> return 0", "2: braces without their other half"},
        {"[A]\nfnPut arg=x*3} -> return 0", "2: braces without their other half"},
        {"[A]\nfnPut arg={x*} -> return 0", "2: no number: \"\""},
        {"[A]\nfnPut arg={x*3y} -> return 0", "2: no number: \"3y\""},
        {"[A]\nfnPut arg={x3} -> return 0", "2: neither {TEXT*NUMBER} nor {\"...}: {x3}"},
        {"[A]\nfnPut arg={id} -> return 0", "2: neither {TEXT*NUMBER} nor {\"...}: {id}"},
        {"[A]\nfnPut arg={\"a\":{{b*2}c*2}} -> return 0 | calls "
         "fnPut(null,null,null,{\"a\":bbcbbc})",
         ""},
        {"[A]\ngiven verdikt=1\ngetRTU -> return 512R", "2: given does not know: \"verdikt=1\""},
        {"[A]\ngiven verdict\ngetRTU -> return 512Q", "2: given does not know: \"verdict\""},
        {"[A]\ngiven silent=1\ngetRTU -> return 512Q", "2: given does not know: \"silent=1\""},
        {"[A]\ngiven \ngetRTU -> return 512Q",
         "2: ends in a space or in a control character\n2: given does not know: \"\""},
        {"[A]\ngiven\ngetRTU -> return 512Q", "2: neither given NAME nor REQUEST -> EXPECTED"},
        {"[A]\ngiven verdict=1x\ngetRTU -> return 512Q", "2: no number: \"1x\""},
        {"[A]\ngiven ms=4294967296\ngetRTU -> return 512Q", "2: no number: \"4294967296\""},
        {"[A]\ngiven silent | silent\ngetRTU -> return 512Q", "2: given twice: silent"},
        {"[A]\ngiven silent | fresh\ngetRTU -> return 512Q", "2: fresh must come first"},
        {"[A]\ngiven silent\nbaselineShowVer -> return\ngiven fresh\nbaselineShowVer -> return",
         "5: SOAP 1.1, in order: return: expected \"<return/>\", got \"<return>baseline"}};
    expectFailures(ROWS, makeSoapDialect);
}

TEST(CaseRunner, KnowsEveryWordOfASoapCase)
{
    static const WrongCases ROWS[] = {
        {"[A]\ngetRUT -> return 512Q", "2: no operation: \"getRUT\""},
        {"[A]\nGET / -> nothing", "2: no operation: \"GET\""},
        {"[A]\nclient 127.0.0.2\ngetRTU -> return 512Q", "2: neither given"},
        {"[A]\ngetRTU -> return 1 -> return 2", "2: neither given"},
        {"[A]\nfnPut arc=x -> return 0", "2: fnPut has no field \"arc\""},
        {"[A]\nfnPut return_=x -> return 0", "2: fnPut has no field \"return_\""},
        {"[A]\nfnPut arg -> return 0", "2: a field without a value: \"arg\""},
        {"[A]\nfnPut arg=1 | arg=2 -> return 0", "2: a field given twice: arg"},
        {"[A]\ngetRTU -> returns 512Q | return 512Q", "2: no expectation: \"returns\""},
        {"[A]\ngetRTU -> calls fnPut()", "2: expects not exactly one of return, no return and"},
        {"[A]\ngetRTU -> return 512Q | no return", "2: expects not exactly one of return"},
        {"[A]\ngetRTU -> return 512Q | fault x", "2: expects not exactly one of return"},
        {"[A]\ngetRTU -> return 512Q | return 512Q", "2: expected twice: \"return\""},
        {"[A]\ngetRTU -> return 512Q | detail x", "2: a detail without a fault"},
        {"[A]\nfnPutS -> fault x | quiet x", "2: a quiet fault beside a sent one"},
        {"[A]\nfnPut -> return 0 | asks 200 | level 200", "2: both asks and level"},
        {"[A]\nfnPut -> return 0 | level high", "2: no number: \"high\""},
        {"[A]\nfnPutS -> fault", "2: expects nothing: \"fault\""},
        {"[A]\nfnPut -> return 0 | calls", "2: expects nothing: \"calls\""}};
    expectFailures(ROWS, makeSoapDialect);
}

TEST(CaseRunner, LooksAtEveryExpectationOfASoapCase)
{
    static const WrongCases ROWS[] = {
        {"[A]\ngetRTU -> return 512", "2: SOAP 1.1, in order: return: expected \"<return>512<"},
        {"[A]\ngetRTU -> return", "2: SOAP 1.1, in order: return: expected \"<return/>\""},
        {"[A]\ngetRTU -> no return", "2: SOAP 1.1, in order: return: expected \"\""},
        {"[A]\ngetRTU -> fault x", "2: SOAP 1.1, in order: fault: expected \"x\", got \"(none)\""},
        {"[A]\ngetRTU -> return 512Q | quiet x", "2: SOAP 1.1, in order: quiet: expected \"x\""},
        {"[A]\ngetRTU -> return 512Q | asks 0",
         "2: SOAP 1.1, in order: level asked: expected \"0\", got \"-1\""},
        {"[A]\ngetRTU -> return 512Q | calls f()",
         "2: SOAP 1.1, in order: calls: expected \"f()\""},
        {"[A]\nfnPut -> return 0",
         "2: SOAP 1.1, in order: calls: expected \"\", got \"fnPut(null,"},
        {"[A]\nfnPutS -> return", "2: SOAP 1.1, in order: return: expected"},
        {"[A]\nfnPutS -> fault x", "2: SOAP 1.1, in order: fault: expected \"x\""},
        {"[A]\nfnPutS -> fault WebServer Error: Invalid parameters | detail x",
         "2: SOAP 1.1, in order: detail: expected \"x\", got \"ns__fnPutS\""},
        {"[A]\nfnPutS -> fault WebServer Error: Invalid parameters",
         "2: SOAP 1.1, in order: detail: expected \"(none)\""},
        {"[A]\nfnPutS -> fault WebServer Error: Invalid parameters | detail ns__fnPutS | asks 50",
         "2: SOAP 1.1, in order: level asked: expected \"50\", got \"200\""},
        {"[A]\nfnPutS -> fault WebServer Error: Invalid parameters | detail ns__fnPutS | calls f()",
         "2: SOAP 1.1, in order: calls: expected \"f()\", got \"\""},
        {"[A]\nrtuReboot user= | password= -> return 0 | level 200 | calls usrReboot()",
         "2: SOAP 1.1, in order: level asked: expected \"200\", got \"250\""},
        {"[A]\ngetRbacPerm -> return 3 | level 50", "2: SOAP 1.1, in order, given verdict=2: "},
        {"[A]\ngetRTU -> return 1\ngetRTU -> return 512Q\ngetRTU -> return 2",
         "2: SOAP 1.1, in order: return: expected \"<return>1</return>\", got "
         "\"<return>512Q</return>\"\n4: SOAP 1.1"}};
    expectFailures(ROWS, makeSoapDialect);
}

TEST(CaseRunner, KnowsEveryWordOfAWebCase)
{
    static const WrongCases ROWS[] = {
        {"[A]\nGET / -> nothing", ""},
        {"[A]\nGTE /x.css -> nothing", "2: no request: \"GTE\""},
        {"[A]\nget / -> nothing", "2: no request: \"get\""},
        {"[A]\nGET -> nothing", "2: takes one word: \"\""},
        {"[A]\nGET / x -> nothing", "2: takes one word: \"/ x\""},
        {"[A]\nlogin ann -> nothing", "2: takes one word: \"\""},
        {"[A]\nlogout ann -> nothing", "2: takes nothing: \"ann\""},
        {"[A]\nGET / -> nothing -> nothing", "2: more than one ->"},
        {"[A]\nGET / -> nothing at all", "2: takes nothing: \"at all\""},
        {"[A]\nGET / -> noting", "2: no number: \"noting\""},
        {"[A]\nGET / -> 20 text/html", "2: no expectation: \"20\""},
        {"[A]\nGET / -> 200", "2: takes one word: \"\""},
        {"[A]\nGET / -> has", "2: takes a text"},
        {"[A]\nGET / -> raw", "2: takes a text"},
        {"[A]\nGET / -> has \\t", "2: a backslash without r or n"},
        {"[A]\nGET / -> nothing\nsession 0", "3: no word: \"session\""},
        {"[A]\nGET / -> nothing\nlevel 50", "3: no word: \"level\""},
        {"[A]\nGET / -> nothing\nsessions none", "3: no number: \"none\""},
        {"[A]\nGET / -> nothing\ncalls", "3: takes a text"},
        {"[A]\nclient 10.0.0.1\nGET / -> nothing", "2: no loopback address: \"10.0.0.1\""},
        {"[A]\nfile /etc/motd x\nGET / -> nothing", "2: no path in /mnt: \"/etc/motd\""},
        {"[A]\nremove /mnt/a b\nGET / -> nothing", "2: takes one word: \"/mnt/a b\""},
        {"[A]\nchunked twice\nPOST / -> nothing", "2: chunked knows: without an end"},
        {"[A]\nlength x\nPOST / -> nothing", "2: no number: \"x\""},
        {"[A]\ngiven verdikt=1\nGET / -> 200 text/html", "2: given does not know: \"verdikt=1\""}};
    expectFailures(ROWS, makeWebDialect);
}

TEST(CaseRunner, LooksAtEveryExpectationOfAWebCase)
{
#define INDEX "[A]\nfile /mnt/bf/webFiles/index.htm x\n"
#define AFTER "[A]\nGET /x -> nothing\n"
    static const WrongCases ROWS[] = {
        {INDEX "GET / -> 200 text/html x", ""},
        {INDEX "GET / -> nothing", "3: reply: expected \"\", got \"HTTP/1.1 200 OK"},
        {INDEX "GET / -> 404 text/html x", "3: expected 404 text/html, got \"HTTP/1.1 200 OK"},
        {INDEX "GET / -> 200 text/css x", "3: expected 200 text/css, got \"HTTP/1.1 200 OK"},
        {INDEX "GET / -> 200 text/html", "3: body: expected \"\", got \"x\""},
        {INDEX "GET / -> 200 text/html xy", "3: body: expected \"xy\", got \"x\""},
        {INDEX "GET / -> 200 text/html @/mnt/none", "3: cannot read /mnt/none"},
        {INDEX "GET / -> has yy", "3: expected \"yy\" in \"HTTP/1.1 200 OK"},
        {INDEX "GET / -> raw x", "3: reply: expected \"x\", got \"HTTP/1.1 200 OK"},
        {INDEX "GET / -> relogin is", "3: body: expected \"<html>"},
        {AFTER "sessions 1", "3: sessions: expected \"1\", got \"0\""},
        {AFTER "sends 7", "3: sends: expected \"7\", got \"0\""},
        {AFTER "asks 0", "3: level asked: expected \"0\", got \"-1\""},
        {AFTER "calls f()", "3: calls: expected \"f()\", got \"\""},
        {AFTER "content /mnt/none", "3: cannot read /mnt/none"},
        {AFTER "remove /mnt/none", "3: nothing to remove"},
        {AFTER "file /mnt/a x\ncontent /mnt/a y", "4: /mnt/a: expected \"y\", got \"x\""},
        {AFTER "file /mnt/a x\nabsent /mnt/a", "4: /mnt/a exists"},
        {AFTER "folder /mnt/a\nfolder /mnt/a", "4: the folder exists"},
        {"[A]\nlogin ann pw -> nothing\nno calls", "3: calls: expected \"\", got \"appUserVerify("},
        {"[A]\nlength 5\nGET / -> nothing", "3: length has no effect"},
        {"[A]\ntype a/b\ntype c/d\nGET / -> nothing", "3: type has no effect: it comes twice"},
        {AFTER "sessions 0\nhang", "4: hang has no effect"},
        {"[A]\ncookie SESSIONID={id}\nGET / -> nothing", "3: no such session: SESSIONID={id}"},
        {"[A]\ncookie {id@127.0.0.2}\nGET / -> nothing", "3: no such session: {id@127.0.0.2}"}};
    expectFailures(ROWS, makeWebDialect);
}

TEST(CaseRunner, ReportsAFailureAtItsLineOfTheFile)
{
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        report("soap/a.cases", run(sectionsOf("[A]\n\ngetRTU -> return 1")[0], makeSoapDialect));
    }
    ASSERT_EQ(1, results.size());
    EXPECT_STREQ("soap/a.cases", results.GetTestPartResult(0).file_name());
    EXPECT_EQ(3, results.GetTestPartResult(0).line_number());
    EXPECT_TRUE(results.GetTestPartResult(0).failed());
}
