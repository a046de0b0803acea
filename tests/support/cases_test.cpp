// tests/support/cases_test.cpp: the runner of the cases must fail where a case is wrong, once and at its line.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "support/cases.h"

// Returns the failures of a section, each as "LINE: MESSAGE".
static Lines failuresOf(const std::string &text, const MakeDialect &make)
{
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        run("a.cases", readSections(text)[0], make);
    }
    Lines failures;
    for (int i = 0; i < results.size(); ++i) {
        const testing::TestPartResult &result = results.GetTestPartResult(i);
        EXPECT_STREQ("a.cases", result.file_name());
        failures.push_back(
            std::to_string(result.line_number()) + ": "
            + replaced(result.message(), {{"Failed\n", ""}, {"\n", ""}})); // newer ones end in \n
    }
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
        const Lines failures = failuresOf("[Title]\n" + std::string(row.lines), make);
        ASSERT_EQ(1U, failures.size()) << row.lines;
        const std::string line = std::to_string(1 + split(row.lines, "\n").size()) + ": ";
        EXPECT_EQ(0U, failures[0].find(line + row.message)) << row.lines << '\n' << failures[0];
    }
}

TEST(CaseRunner, RefusesAFileThatIsNotMadeOfSections)
{
    for (const char *text : {"# [A]\ngetRTU -> return", "[A]\n[B]\ngetRTU -> return",
                             "[A\ngetRTU -> return", "[A]\ngetRTU -> return\n[B]\ngiven silent",
                             "[A b]\ngetRTU -> return\n[A, b]\ngetRTU -> return"})
        EXPECT_THROW(readSections(text), WrongLine) << text;
}

TEST(CaseRunner, RunsEveryLineOfASectionAfterThoseBeforeTheFirst)
{
    EXPECT_EQ(Lines(),
              failuresOf("given silent\n[A]\n# x\n\nbaselineShowVer -> return", makeSoapDialect));
    EXPECT_EQ((Lines{"2: SOAP 1.1, in order: return: expected \"\", got \"<return>512Q</return>\"",
                     "4: SOAP 1.1, in order: return: expected \"<return/>\", got "
                     "\"<return>512Q</return>\""}),
              failuresOf("[A]\ngetRTU -> no return\ngetRTU -> return 512Q\ngetRTU -> return",
                         makeSoapDialect));
}

#define FIRST "SOAP 1.1, in order: " // the variant that is sent first
#define FAULT "fault WebServer Error: Invalid parameters"

TEST(CaseRunner, FindsWhatIsWrongInASoapCase)
{
    static const WrongLines ROWS[] = {
        {"getRTU -> return 512Q\ngiven verdikt=1", "given does not know: \"verdikt=1\""},
        {"getRTU -> return 512Q\ngiven", "no such line: \"given\""},
        {"getRTU -> return 1 -> return 2", "more than one ->"},
        {"getRUT -> return 512Q", "no operation: \"getRUT\""},
        {"fnPut arg={x*y} -> return 0", "no number: \"y\""},
        {"fnPut arc=x -> return 0", "fnPut has no such field: \"arc=x\""},
        {"fnPut arg -> return 0", "fnPut has no such field: \"arg\""},
        {"getRTU ; given silent -> return 512Q", "given silent: no operation: \"given\""},
        {"getRTU -> returns 512Q", "no expectation: \"returns 512Q\""},
        {"fnPut -> return 0 | calls", "no expectation: "},
        {"getRTU ; fnPut -> return 512Q", "fnPut: " FIRST "return: expected"},
        {"getRTU -> return 512Q | quiet x", FIRST "quiet: expected \"x\", got \"\""},
        {"getRTU -> return 512Q | asks 0", FIRST "level asked: expected \"0\", got \"-1\""},
        {"fnPut -> return 0", FIRST "calls: expected \"\", got \"fnPut(null,null,null,null)\""},
        {"fnPutS -> return", FIRST "return: expected \"<return/>\", got \"(none)\""},
        {"fnPutS -> fault x", FIRST "fault: expected \"x\", got \"WebServer Error: Invalid"},
        {"fnPutS -> " FAULT " | detail x", FIRST "detail: expected \"x\", got \"ns__fnPutS\""},
        {"fnPutS -> " FAULT, FIRST "detail: expected \"(none)\", got \"ns__fnPutS\""},
        {"fnPut arg=x -> return 0 | needs all | calls fnPut(null,null,null,x)",
         "SOAP 1.1, in order, given verdict=1: fault: expected"},
        {"getRbacPerm -> return 3 | level 50",
         "SOAP 1.1, in order, given verdict=2: fault: expected"},
        {"given silent\nbaselineShowVer -> return\ngiven fresh\nbaselineShowVer -> return",
         FIRST "return: expected \"<return/>\", got \"<return>baseline"}};
    expectFailures(ROWS, makeSoapDialect);
}

#define INDEX "file /mnt/bf/webFiles/index.htm x\nGET / -> "
#define ASK "GET / -> nothing\n"

TEST(CaseRunner, FindsWhatIsWrongInAWebCase)
{
    static const WrongLines ROWS[] = {
        {"GTE /x.css -> nothing", "no request: \"GTE /x.css\""},
        {"GET / -> nothing at all", "no expectation: \"nothing at all\""},
        {"GET / -> sessions 0", "no expectation: \"sessions 0\""},
        {"GET / ; sessions 0 -> nothing", "sessions 0: no request: \"sessions 0\""},
        {ASK "client 10.0.0.1", "no such line: \"client 10.0.0.1\""},
        {ASK "file /etc/motd x", "no such line: \"file /etc/motd x\""},
        {INDEX "nothing", "reply: expected \"\", got \"HTTP/1.1 200 OK"},
        {ASK "GET / ; GET /f.js?x -> 200 text/html", "GET /: expected 200"},
        {INDEX "200 text/css x", "expected 200 text/css, got \"HTTP/1.1 200 OK"},
        {INDEX "200 text/html xy", "body: expected \"xy\", got \"x\""},
        {INDEX "has yy", "expected \"yy\" in \"HTTP/1.1 200 OK"},
        {INDEX "raw x", "reply: expected \"x\", got \"HTTP/1.1 200 OK"},
        {INDEX "relogin is", "body: expected \"<html>"},
        {"GET / -> nothing | sessions 1", "sessions: expected \"1\", got \"0\""},
        {ASK "sends 7", "sends: expected \"7\", got \"0\""},
        {ASK "asks 0", "level asked: expected \"0\", got \"-1\""},
        {ASK "calls f()", "calls: expected \"f()\", got \"\""},
        {ASK "content /mnt/none", "cannot read /mnt/none"},
        {ASK "remove /mnt/none", "it is not there"},
        {ASK "file /mnt/a x\ncontent /mnt/a y", "/mnt/a: expected \"y\", got \"x\""},
        {ASK "file /mnt/a x\nabsent /mnt/a", "/mnt/a exists"},
        {ASK "folder /mnt/a\nfolder /mnt/a", "it exists"},
        {ASK "hang", "hang has no effect"},
        {"login ann pw -> nothing\nno calls", "calls: expected \"\", got \"appUserVerify("},
        {"length 5\nGET / -> nothing", "length has no effect"},
        {ASK "type a/b\ntype c/d", "type has no effect: it comes twice"},
        {"cookie SESSIONID={id}\nGET / -> nothing", "no such session: SESSIONID={id@"}};
    expectFailures(ROWS, makeWebDialect);
}
