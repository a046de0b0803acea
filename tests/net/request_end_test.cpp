// tests/net/request_end_test.cpp: an arriving request is complete at the byte where gSOAP stops to read.
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "gsoap/context.h"
#include "gsoap/limits.h"
#include "net/request_end.h"
#include "soapH.h"
#include "support/wire.h"

struct Row {
    std::string name, request, after; // complete with the last byte of request
    bool oneLater = false;            // where gSOAP stops
};

static std::string post(const std::string &header, const std::string &body)
{
    return "POST / HTTP/1.1\r\n" + header + "\r\n\r\n" + body;
}

static std::vector<Row> rows()
{
    const std::string soap = envelope("getRTU");
    const std::string own = "<Envelope xmlns='http://schemas.xmlsoap.org/soap/envelope/'><Body>"
                            "<getRTU xmlns='urn:soapServ'/></Body></Envelope >";
    const std::string chunked = "Transfer-Encoding: chunked";
    char size[16];
    snprintf(size, sizeof size, "%zX\r\n", soap.size() - 5);
    const std::string chunks =
        "5;x=y\r\n" + soap.substr(0, 5) + "\r\n" + size + soap.substr(5) + "\r\n0\r\n";
    return {
        {"get", "GET /a HTTP/1.1\r\nHost: u\r\n\r\n", "GET /b HTTP/1.1\r\n\r\n"},
        {"get, bare LF", "GET /a HTTP/1.1\nHost: u\n\n", "x"},
        {"get, blanks before it", "\r\n \t\nGET /a HTTP/1.1\r\n\r\n", ""},
        {"get, body", "GET /a HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", "d"},
        {"get, chunks", "GET /a HTTP/1.1\r\n" + chunked + "\r\n\r\n3\r\nabc\r\n0\r\n", "\r\n"},
        {"get, no version", "GET /a\r\n\r\n", "x"},
        {"head", "HEAD / HTTP/1.1\r\n\r\n", "x"},
        {"options", "OPTIONS / HTTP/1.1\r\n\r\n", "x"},
        {"unknown method", "FETCH / HTTP/1.1\r\nContent-Length: 5\r\n\r\n", "abcde"},
        {"put", "PUT / HTTP/1.1\r\nContent-Length: 5\r\n\r\n", "abcde"},
        {"soap", httpPost("", soap), "POST / HTTP/1.1\r\n"},
        {"soap, no prefix", httpPost("", own), "\n"},
        {"soap, BOM", post("Host: u", "\xEF\xBB\xBF" + soap), "\n"},
        {"soap, blanks before it", post("Host: u", "\r\n\r\n" + soap), ""},
        {"soap, no length", post("Host: u", soap), "\r\n"},
        {"soap, comment, CDATA, quotes",
         post("Host: u",
              "<?xml version='1.0'?><!-- </x> -->"
                  + envelope("getRTU", "<a b='/>' c=\">\"><![CDATA[</E:Envelope>]]></a><d/>")),
         "<!-- end -->"},
        {"soap, length too small", post("Content-Length: 10", soap), "\r\n"},
        {"soap, length too large", post("Content-Length: 9999", soap), ""},
        {"soap, length 2^64", post("Content-Length: 99999999999999999999", soap), ""},
        {"soap, length negative", post("Content-Length: -1", soap), ""},
        {"soap, length 0", post("Content-Length: 0", ""), soap},
        {"soap, length no number", post("Content-Length: x", ""), soap},
        {"soap, length in quotes", post("Content-Length : 1\r\ncontent-length: \"10\"", soap), ""},
        {"soap, length on its own line", post("Content-Length:\r\n\t 10", soap), ""},
        {"soap, chunks", post(chunked, chunks), "\r\n"},
        {"soap, chunks and length", post(chunked + "\r\nContent-Length: 3", chunks), "\r\n"},
        {"soap, expect", httpPost("Expect: 100-continue\r\n", soap), ""},
        {"no markup", post("Content-Length: 3", "a"), "bc"},
        {"form", httpPost(FORM, "a=b"), "c"},
        {"form, folded", httpPost("Content-Type:\r\n" + FORM.substr(13), "a=b"), ""},
        {"form, no length", post(FORM + "Host: u", ""), "a=b"},
        {"form, huge", post(FORM + "Content-Length: 999999999999", ""), "a=b"},
        {"form, chunks", post(FORM + chunked, "3\r\na=b\r\n0\r\n"), "\r\n"},
        {"form, parts", httpPost("Content-Type: multipart/form-data; boundary=x\r\n", "a=b"), ""},
        {"form, charset",
         post(FORM.substr(0, FORM.size() - 2) + ";charset=UTF-8\r\nContent-Length: 3", "a"), "=b"},
        {"no letter", "<", soap},
        {"line too long", "GET / HTTP/1.1\r\nA: " + std::string(8188, 'x'), "x", true},
    };
}

// Returns true when gSOAP asks for more than these bytes.
static bool gsoapAsksForMore(struct soap *soap, const std::string &bytes)
{
    int ends[2];
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(ends[1], bytes.data(), bytes.size()));
    shutdown(ends[1], SHUT_WR);
    soap->socket = ends[0];
    startRequest();
    soap_serve(soap);
    const bool asks = receivedNothing();
    forgetRequest(soap); // closes it
    close(ends[1]);
    return asks;
}

TEST(RequestEnd, IsWhereGsoapStops)
{
    FakeHost fake;
    struct soap *soap = openOnFreePort(soap_new());
    for (const Row &row : rows()) {
        SCOPED_TRACE(row.name);
        const std::size_t size = row.request.size();
        for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, size}) {
            RequestEnd end;
            for (std::size_t at = 0; at < size; at += piece) {
                EXPECT_FALSE(end.isComplete()) << "before byte " << at << " of " << size;
                end.see(row.request.data() + at, std::min(piece, size - at));
            }
            EXPECT_TRUE(end.isComplete()) << "in pieces of " << piece;
        }
        RequestEnd end;
        end.see((row.request + row.after).data(), size + row.after.size());
        EXPECT_TRUE(end.isComplete()) << "with more after it";

        EXPECT_EQ(row.oneLater, gsoapAsksForMore(soap, row.request));
        EXPECT_TRUE(gsoapAsksForMore(soap, row.request.substr(0, size - 1)));
    }
    releaseContext(soap);
    soap_free(soap);
}
