// tests/http/http_test.cpp: the method, forms and the sending of files.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <stdsoap2.h>
#include <string>

#include "gsoap/body.h"
#include "gsoap/limits.h"
#include "http/client_address.h"
#include "http/form_fields.h"
#include "http/send_file.h"
#include "support/fake_host.h"
#include "webServer.h"

TEST(ClientInfo, KnowsTheMethodOfTheRequestLineOrOfGsoap)
{
    const std::unique_ptr<struct soap> soap(new struct soap);
    static const std::tuple<const char *, int, int> CASES[] = {
        {"GET / HTTP", SOAP_POST, 0}, {"POST / HTTP", SOAP_GET, 1}, {"PUT /", SOAP_GET, 0},
        {"", SOAP_POST, 1},           {"", SOAP_PUT, -1},           {"GETX", 0, -1}};
    for (const auto &[line, status, verb] : CASES) {
        strcpy(soap->msgbuf, line);
        soap->status = status;
        EXPECT_EQ(verb, getHTTPVerb(soap.get())) << line;
    }
    EXPECT_EQ(nullptr, httpGetIp(nullptr));
    httpClearIp(nullptr);
}

TEST(Form, IsNullWithoutABody)
{
    const std::unique_ptr<struct soap> soap(new struct soap);
    std::istringstream in("0\r\n\r\n");
    soap->is = &in;
    soap->mode = SOAP_IO_CHUNK;
    soap->chunksize = soap->chunkbuflen = soap->buflen = soap->bufidx =
        0;          // gSOAP's constructor leaves them
    startRequest(); // forgets how the request before it ended
    EXPECT_EQ(nullptr, form(soap.get()));
    soap_end(soap.get());
}

TEST(Form, IsReadNoFurtherThanItsTerminator)
{
    for (const std::string last : {"%", "%4", "%%%%", "\"", "\"x"}) {
        std::string memory = "?a=" + last + '\0' + "xbehind&b=c";
        FormFields field(memory.data(), DECODED);
        EXPECT_TRUE(field.next());
        EXPECT_EQ(nullptr, strstr(field.value, "be")) << last;
        EXPECT_FALSE(field.next()) << last;
    }
}

TEST(SendFolder, SendsAllMatchingFilesAsOneTextReply)
{
    FakeHost fake;
    std::filesystem::create_directories("/mnt/folder");
    std::string large; // more than one of gSOAP's buffers
    for (int i = 0; i < 30000; ++i)
        large += std::to_string(i);
    std::ofstream("/mnt/folder/a.log.1") << large;
    std::ofstream("/mnt/folder/b.txt") << "two";
    std::filesystem::create_directories("/mnt/broken");
    std::ofstream("/mnt/broken/a.log") << "a";
    std::filesystem::create_symlink("nowhere", "/mnt/broken/b.log");
    std::ofstream("/mnt/broken/c.log") << "c";
    std::string readable; // in the folder's own order
    for (const auto &entry : std::filesystem::directory_iterator("/mnt/broken")) {
        if (entry.is_symlink())
            break;
        readable += entry.path().stem();
    }
    const std::unique_ptr<struct soap> soap(new struct soap);
    const std::string folder = "/mnt/folder"; // a path has at most 298 characters
    const std::pair<std::string, std::string> cases[] = {{folder, large},
                                                         {folder + std::string(279, '/'), large},
                                                         {folder + std::string(280, '/'), ""},
                                                         {"/mnt/missing", ""},
                                                         {"/mnt/broken", readable}};
    for (const auto &[path, content] : cases) {
        std::ostringstream out;
        soap->os = &out;
        EXPECT_EQ(SOAP_OK, http_copy_folder(soap.get(), path.c_str(), ".log"));
        EXPECT_NE(std::string::npos, out.str().find("\r\nContent-Type: text/plain\r\n"));
        EXPECT_EQ(content, out.str().substr(out.str().find("\r\n\r\n") + 4)) << path;
        soap_end(soap.get());
    }
    std::ostringstream out;
    soap->os = &out;
    static int failures;
    soap->fpreparesend = [](struct soap *, const char *, std::size_t) {
        return failures-- > 0 ? SOAP_EOM : SOAP_OK;
    };
    failures = 1;
    EXPECT_EQ(SOAP_EOM, http_copy_folder(soap.get(), "/mnt/folder", ".log"));
    failures = 1;
    EXPECT_EQ(SOAP_EOM, copy_file(soap.get(), "/mnt/folder/b.txt", "text/plain"));
    EXPECT_EQ("", out.str());
    soap_end(soap.get());
}
