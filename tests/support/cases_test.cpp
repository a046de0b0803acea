// tests/support/cases_test.cpp: the runner of the cases must fail where a case is wrong, once and at its line.
#include <cstring>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sstream>

#include "support/cases.h"

static std::vector<Section> sectionsOf(const std::string &text)
{
    std::istringstream file(text);
    return readSections(file);
}

// Returns the failures of a case file, each as "LINE: MESSAGE".
static Lines failuresOf(const std::string &text, const MakeDialect &make)
{
    Lines failures;
    for (const Section &section : sectionsOf(text))
        for (const Failure &failure : run(section, make))
            failures.push_back(std::to_string(failure.line) + ": " + failure.message);
    return failures;
}

struct WrongLines {
    const char *lines;   // of a section, of which the last one is wrong
    const char *message; // how its failure begins
};

template <std::size_t N>
static void expectFailures(const WrongLines (&rows)[N], const MakeDialect &make)
{
    for (const WrongLines &row : rows) {
        SCOPED_TRACE(row.lines);
        const Lines failures = failuresOf("[Title]\n" + std::string(row.lines), make);
        ASSERT_EQ(1U, failures.size());
        const std::string line = std::to_string(1 + split(row.lines, "\n").size()) + ": ";
        EXPECT_EQ(line + row.message, failures[0].substr(0, line.size() + strlen(row.message)));
    }
}

TEST(CaseRunner, FindsEveryFaultOfAFile)
{
    static const struct {
        const char *text;
        Lines failures;
    } ROWS[] = {
        {"[A]\ngetRTU -> return 512Q", {}},
        {"given silent\n[A]\nbaselineShowVer -> return\n[B]\nbaselineShowVer -> return", {}},
        {"# [A]\ngetRTU -> return 512Q", {"1: no section"}},
        {"[A]\n[B]\ngetRTU -> return 512Q", {"1: a section without a request"}},
        {"[A]\ngetRTU -> return 512Q\n[B]\ngiven silent", {"3: a section without a request"}},
        {"[A b]\ngetRTU -> return 512Q\n[A, b]\ngetRTU -> return 512Q",
         {"3: a second section of this title"}},
        {"[A\ngetRTU -> return 512Q", {"1: a title is written [Title]"}},
        {"[A]\ngetRTU -> return 512Q ", {"2: ends in a space or in a control character"}},
        {"[A]\ngetRUT -> return 1\ngetRTU -> return 1\ngetRUT -> return 1",
         {"2: no operation: \"getRUT\"", "4: no operation: \"getRUT\""}},
        {"[A]\ngetRTU -> no return\ngetRTU -> return 512Q\ngetRTU -> return",
         {"2: SOAP 1.1, in order: return: expected \"\", got \"<return>512Q</return>\"",
          "4: SOAP 1.1, in order: return: expected \"<return/>\", got \"<return>512Q</return>\""}}};
    for (const auto &row : ROWS)
        EXPECT_EQ(row.failures, failuresOf(row.text, makeSoapDialect)) << row.text;
}

TEST(CaseRunner, KnowsEveryWordOfASoapCase)
{
    static const WrongLines ROWS[] = {
        {"fnPut arg={x*3 -> return 0", "braces without their other half"},
        {"fnPut arg={x3} -> return 0", "neither {TEXT*NUMBER} nor {\"...}: {x3}"},
        {"getRTU -> return 512Q\ngiven verdikt=1", "given does not know: \"verdikt=1\""},
        {"getRTU -> return 512Q\ngiven", "neither given NAME nor REQUEST -> EXPECTED"},
        {"getRTU -> return 512Q\ngiven verdict=1x", "no number: \"1x\""},
        {"getRTU -> return 512Q\ngiven silent | silent", "given twice: silent"},
        {"getRTU -> return 512Q\ngiven silent | fresh", "fresh must come first"},
        {"getRTU -> return 1 -> return 2", "neither given NAME nor REQUEST -> EXPECTED"},
        {"fnPut arc=x -> return 0", "fnPut has no field \"arc\""},
        {"fnPut arg -> return 0", "a field without a value: \"arg\""},
        {"fnPut arg=1 | arg=2 -> return 0", "a field given twice: arg"},
        {"getRTU -> returns 512Q | return 512Q", "no expectation: \"returns\""},
        {"getRTU ; given silent -> return 512Q", "no operation: \"given\""},
        {"getRTU -> return 512Q | no return", "expects not exactly one of return"},
        {"getRTU -> return 512Q | return 512Q", "expected twice: \"return\""},
        {"getRTU -> return 512Q | detail x", "a detail without a fault"},
        {"fnPutS -> fault x | quiet x", "a quiet fault beside a sent one"},
        {"fnPut -> return 0 | asks 200 | level 200", "both asks and level"},
        {"fnPut -> return 0 | calls", "expects nothing: \"calls\""}};
    expectFailures(ROWS, makeSoapDialect);
}

#define FIRST "SOAP 1.1, in order: " // the variant that is sent first
#define FAULT "fault WebServer Error: Invalid parameters"

TEST(CaseRunner, LooksAtEveryExpectationOfASoapCase)
{
    static const WrongLines ROWS[] = {
        {"getRTU ; fnPut -> return 512Q", "fnPut: " FIRST "return: expected"},
        {"getRTU -> return 512Q | quiet x", FIRST "quiet: expected \"x\", got \"\""},
        {"getRTU -> return 512Q | asks 0", FIRST "level asked: expected \"0\", got \"-1\""},
        {"fnPut -> return 0", FIRST "calls: expected \"\", got \"fnPut(null,null,null,null)\""},
        {"fnPutS -> return", FIRST "return: expected \"<return/>\", got \"(none)\""},
        {"fnPutS -> fault x", FIRST "fault: expected \"x\", got \"WebServer Error: Invalid"},
        {"fnPutS -> " FAULT " | detail x", FIRST "detail: expected \"x\", got \"ns__fnPutS\""},
        {"fnPutS -> " FAULT, FIRST "detail: expected \"(none)\", got \"ns__fnPutS\""},
        {"fnPut -> return 0 | level 50 | calls fnPut(null,null,null,null)",
         FIRST "level asked: expected \"50\", got \"200\""},
        {"fnPut arg=x -> return 0 | needs all | calls fnPut(null,null,null,x)",
         "SOAP 1.1, in order, given verdict=1: fault: expected"},
        {"getRbacPerm -> return 3 | level 50",
         "SOAP 1.1, in order, given verdict=2: fault: expected"},
        {"given silent\nbaselineShowVer -> return\ngiven fresh\nbaselineShowVer -> return",
         FIRST "return: expected \"<return/>\", got \"<return>baseline"}};
    expectFailures(ROWS, makeSoapDialect);
}

TEST(CaseRunner, KnowsEveryWordOfAWebCase)
{
    static const WrongLines ROWS[] = {
        {"GTE /x.css -> nothing", "no such word: \"GTE /x.css\""},
        {"logout ann -> nothing", "takes nothing: \"ann\""},
        {"GET / -> nothing -> nothing", "more than one ->"},
        {"GET / -> nothing at all", "takes nothing: \"at all\""},
        {"GET / -> 20 text/html", "no expectation: \"20\""},
        {"GET / -> 200", "takes one word: \"\""},
        {"GET / -> has", "takes a text"},
        {"GET / -> has \\t", "a backslash without r or n"},
        {"GET / -> nothing\nsession 0", "no such word: \"session 0\""},
        {"GET / ; sessions 0 -> nothing", "no such word: \"sessions 0\""},
        {"GET / -> nothing\nclient 10.0.0.1", "no loopback address: \"10.0.0.1\""},
        {"GET / -> nothing\nfile /etc/motd x", "no path in /mnt: \"/etc/motd\""},
        {"GET / -> nothing\nheader {id}", "neither {TEXT*NUMBER} nor"}};
    expectFailures(ROWS, makeWebDialect);
}

#define INDEX "file /mnt/bf/webFiles/index.htm x\nGET / -> "

TEST(CaseRunner, LooksAtEveryExpectationOfAWebCase)
{
    static const WrongLines ROWS[] = {
        {INDEX "nothing", "reply: expected \"\", got \"HTTP/1.1 200 OK"},
        {"GET / -> nothing\nGET / ; GET /f.js?x -> 200 text/html", "GET /: expected 200"},
        {INDEX "404 text/html x", "expected 404 text/html, got \"HTTP/1.1 200 OK"},
        {INDEX "200 text/css x", "expected 200 text/css, got \"HTTP/1.1 200 OK"},
        {INDEX "200 text/html", "body: expected \"\", got \"x\""},
        {INDEX "200 text/html xy", "body: expected \"xy\", got \"x\""},
        {INDEX "has yy", "expected \"yy\" in \"HTTP/1.1 200 OK"},
        {INDEX "raw x", "reply: expected \"x\", got \"HTTP/1.1 200 OK"},
        {INDEX "relogin is", "body: expected \"<html>"},
        {"GET / -> nothing\nsessions 1", "sessions: expected \"1\", got \"0\""},
        {"GET / -> nothing\nsends 7", "sends: expected \"7\", got \"0\""},
        {"GET / -> nothing\nasks 0", "level asked: expected \"0\", got \"-1\""},
        {"GET / -> nothing\ncalls f()", "calls: expected \"f()\", got \"\""},
        {"GET / -> nothing\ncontent /mnt/none", "cannot read /mnt/none"},
        {"GET / -> nothing\nremove /mnt/none", "nothing to remove"},
        {"GET / -> nothing\nfile /mnt/a x\ncontent /mnt/a y", "/mnt/a: expected \"y\", got \"x\""},
        {"GET / -> nothing\nfile /mnt/a x\nabsent /mnt/a", "/mnt/a exists"},
        {"GET / -> nothing\nfolder /mnt/a\nfolder /mnt/a", "the folder exists"},
        {"GET / -> nothing\nhang", "hang has no effect"},
        {"login ann pw -> nothing\nno calls", "calls: expected \"\", got \"appUserVerify("},
        {"length 5\nGET / -> nothing", "length has no effect"},
        {"GET / -> nothing\ntype a/b\ntype c/d", "type has no effect: it comes twice"},
        {"cookie SESSIONID={id}\nGET / -> nothing", "no such session: SESSIONID={id}"}};
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
