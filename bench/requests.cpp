// bench/requests.cpp: one request of each kind, and what its reply must contain.
#include "requests.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "webServer.h"

static const std::size_t LONG_FORM_BYTES = 0x200000; // long enough to make the library trim
static const std::size_t LARGEST_BYTES = std::size_t{16} * 1024 * 1024; // of a body that is served
static const std::size_t LARGEST_ENVELOPE_BYTES = LARGEST_BYTES - 4096; // here the header counts
static const int MOST_POINTS = 1000;

static std::string post(const std::string &path, const std::string &type, const std::string &body,
                        const std::string &headers = "")
{
    return "POST " + path + " HTTP/1.1\r\nHost: unit\r\nContent-Type: " + type
           + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + headers + "\r\n"
           + body;
}

static std::string get(const std::string &path, const std::string &headers = "")
{
    return "GET " + path + " HTTP/1.1\r\nHost: unit\r\n" + headers + "\r\n";
}

std::string soap11(const std::string &envelope, const std::string &headers)
{
    return post("/", "text/xml; charset=utf-8", envelope, "SOAPAction: \"\"\r\n" + headers);
}

static std::string form(const std::string &body, const std::string &headers = "",
                        const std::string &path = "/")
{
    return post(path, "application/x-www-form-urlencoded", body, headers);
}

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string soap12(const std::string &envelope)
{
    return post("/", "application/soap+xml; charset=utf-8",
                replaced(envelope, "http://schemas.xmlsoap.org/soap/envelope/",
                         "http://www.w3.org/2003/05/soap-envelope"));
}

std::string contents(const std::filesystem::path &path)
{
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<Exchange> makeExchanges(const std::string &folder)
{
    std::vector<Exchange> kinds;
    const auto add = [&](const std::string &name, const std::string &request,
                         const std::string &expected, int verdict = WS_ALLOWED) {
        kinds.push_back({name, request, expected, verdict});
    };
    const auto envelope = [&](const std::string &name) {
        return contents(folder + "/" + name + ".xml");
    };

    const std::string read = envelope("coreDbReadData"), many = envelope("coreDbReadMultData");
    add("coreDbReadData", soap11(read), ":coreDbReadDataResponse");
    std::set<std::string> operations;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        operations.insert(entry.path().stem());
    operations.erase("coreDbReadData"); // it has already been added, as the first
    for (const std::string &name : operations)
        add(name, soap11(envelope(name)), ":" + name + "Response");
    for (const std::string name : {"coreDbReadData", "coreDbKrunchData", "getUsersList"})
        add(name + ", SOAP 1.2", soap12(envelope(name)), ":" + name + "Response");

    std::string points;
    for (int i = 0; i < MOST_POINTS; ++i)
        points += "[FDR" + std::to_string(MOST_POINTS + i) + "_IA]";
    const std::string thousand = replaced(many, "[FDR1_IA][FDR1_IB][FDR1_IC]", points);
    add("1000 points", soap11(replaced(thousand, ">3<", ">1000<")), "[123.4|G][");
    add("points, list broken", soap11(replaced(many, "[FDR1_IC]", "")), "input string format");
    add("read, field missing", soap11(replaced(read, "inputName", "other")), "Invalid parameters");
    add("read, type invalid", soap11(replaced(read, "analog", "other")), "Invalid parameters");
    add("read, not authenticated", soap11(read), "Authentication error", WS_NOT_AUTHENTICATED);
    add("malformed XML", soap11(replaced(read, "<inputFormat>", "<<>")), "Fault");
    add("unknown operation", soap11(replaced(read, "coreDbReadData", "other")), "not implemented");

    const std::string cookie = std::string("Cookie: SESSIONID=") + SESSION_ID + "\r\n";
    const std::string json = "Accept: application/json\r\n";
    // The fields in Base64: cgiLogin, admin, admin; cgiLogout; cgiKeepAlive.
    const std::string logIn = "cgiMethod=Y2dpTG9naW4%3D&arg1=YWRtaW4%3D&arg2=YWRtaW4%3D";
    const std::string logOut = "cgiMethod=Y2dpTG9nb3V0", keepAlive = "cgiMethod=Y2dpS2VlcEFsaXZl";
    const std::string upload = "fileName=site.xml&xmlString=<site name=\"here\"/>&";
    const std::string padding = "pad=" + std::string(LONG_FORM_BYTES, 'x') + "&";

    add("index page", get("/"), "<html");
    add("script", get("/scripts/points.js"), "200 OK");
    add("missing picture", get("/none.png"), "");
    add("page, no session", get("/QOPweb.htm"), "");
    add("page, stale session", get("/QOPweb.htm", cookie), "?u=is");
    add("login, wrong password", form(replaced(logIn, "arg2=", "arg2=x")), "/index.htm?u=n");
    add("login, page", form(logIn), SESSION_ID);
    add("login, JSON", form(logIn, json), "\"success\"");
    add("page", get("/QOPweb.htm", cookie), "<html");
    add("upload", form(upload, cookie, "/cgi/upconfig"), "200 OK");
    add("upload refused", form(upload, cookie, "/cgi/upconfig"), "", WS_NOT_AUTHENTICATED);
    add("configuration file", get("/cfgFiles/site.xml", cookie), "<site name");
    // The folder of the log does not exist here.
    add("log listing", get("/log/cslog.log", cookie), "text/plain");
    add("getUserAuth, session", soap11(envelope("getUserAuth"), cookie), "getUserAuthResponse");
    add("keep-alive", form(keepAlive, cookie), "204 No Content");
    add("long form, upload", form(upload + padding, cookie, "/cgi/upconfig"), "200 OK");
    add("long form, login", form(padding + logIn, json), "\"success\"");
    add("logout", form(logOut, cookie), "/index.htm");
    add("logout, no session", form(logOut), "");
    return kinds;
}

std::string chunked(const std::string &request)
{
    const std::size_t length = request.find("Content-Length: "), end = request.find("\r\n", length);
    const std::size_t body = request.find("\r\n\r\n") + 4;
    char size[32];
    snprintf(size, sizeof size, "%zx\r\n", request.size() - body);
    return request.substr(0, length) + "Transfer-Encoding: chunked"
           + request.substr(end, body - end) + size + request.substr(body) + "\r\n0\r\n\r\n";
}

std::vector<Exchange> makeLargest(const std::string &folder)
{
    const auto filled = [](const std::string &begin, const std::string &end,
                           std::size_t bytes = LARGEST_BYTES) {
        return begin + std::string(bytes - begin.size() - end.size(), 'x') + end;
    };
    const std::string cookie = std::string("Cookie: SESSIONID=") + SESSION_ID + "\r\n";
    const std::string logIn =
        form(filled("pad=", "&cgiMethod=Y2dpTG9naW4%3D&arg1=YWRtaW4%3D&arg2=YWRtaW4%3D"));
    const std::string upload =
        form(filled("fileName=site.xml&xmlString=", ""), cookie, "/cgi/upconfig");
    const std::string call = contents(folder + "/fnPut.xml");
    const std::size_t text = call.find("</arg>");
    const auto row = [](const std::string &name, const std::string &request,
                        const std::string &expected) {
        return Exchange{name, request, expected, WS_ALLOWED};
    };
    return {row("form", logIn, SESSION_ID),
            row("form in a chunk", chunked(logIn), SESSION_ID),
            row("upload", upload, "200 OK"),
            row("upload in a chunk", chunked(upload), "200 OK"),
            row("file", get("/cfgFiles/site.xml", cookie), "xxx"),
            row("text of a field",
                soap11(filled(call.substr(0, text), call.substr(text), LARGEST_ENVELOPE_BYTES)),
                "fnPutResponse"),
            row("logout", form("cgiMethod=Y2dpTG9nb3V0", cookie), "/index.htm")};
}
