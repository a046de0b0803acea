// client.cpp: calls all operations of a unit with the classes that gSOAP makes from its WSDL.
//
//   client_1.1 ADDRESS 1.1 header|cookie
//   client_1.2 ADDRESS 1.2 header|cookie
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <set>
#include <string>

#include "soapServ.nsmap"
#include "soapsoapServProxy.h"

static const char *password; // "user:password" to send in the header, or null

static std::string field(struct soap *soap, const char *text)
{
    return soap_encode_url_string(soap,
                                  soap_s2base64(soap, reinterpret_cast<const unsigned char *>(text),
                                                nullptr, static_cast<int>(strlen(text))));
}

// Logs in as a browser does. gSOAP misreads the cookie's empty Domain, so this sets the cookie a second
// time, without one.
static bool logIn(soapServProxy &unit, const char *user, const char *itsPassword)
{
    struct soap *soap = unit.soap;
    const std::string form = "cgiMethod=" + field(soap, "cgiLogin") + "&arg1=" + field(soap, user)
                             + "&arg2=" + field(soap, itsPassword);
    soap->http_content = "application/x-www-form-urlencoded";
    if (soap_connect_command(soap, SOAP_POST_FILE, unit.soap_endpoint, nullptr) != SOAP_OK
        || soap_send(soap, form.c_str()) != SOAP_OK || soap_end_send(soap) != SOAP_OK
        || soap_begin_recv(soap) != SOAP_OK || soap_http_get_body(soap, nullptr) == nullptr
        || soap_end_recv(soap) != SOAP_OK)
        return false;
    const char *cookie = soap_cookie_value(soap, "SESSIONID", nullptr, nullptr);
    const std::string id = cookie == nullptr ? "" : cookie;
    soap_free_cookies(soap);
    return !id.empty()
           && soap_set_cookie(soap, "SESSIONID", id.c_str(), nullptr, nullptr) != nullptr;
}

static std::string text(const char *result)
{
    return result == nullptr ? "null" : result;
}

static std::string text(const int *result)
{
    return result == nullptr ? "null" : std::to_string(*result);
}

// Calls an operation, for example
//   call(unit, &soapServProxy::coreDbReadData,
//        soap_new_set__ns__coreDbReadData(unit.soap, "analog", "FDR1_IA", "%g"))
// Returns the result, "null" if the answer has none, or the fault's text and detail.
template <class Request, class Response> static std::string
call(soapServProxy &unit, int (soapServProxy::*operation)(Request *, Response &), Request *request)
{
    if (password != nullptr)
        unit.soap_header(password); // before each call: the last answer's header has replaced it
    Response response;
    if ((unit.*operation)(request, response) != SOAP_OK)
        return text(unit.soap_fault_string()) + ": " + text(unit.soap_fault_detail());
    return text(response.return_);
}

static int checks;
static std::set<std::string> called;

static void check(const char *what, const char *pattern, const std::string &outcome)
{
    if (!std::regex_match(outcome, std::regex(pattern))) {
        fprintf(stderr, "WRONG: %s: %s\n", what, outcome.c_str());
        exit(EXIT_FAILURE);
    }
    ++checks;
}

// CHECK(operation, pattern that the outcome must match, soap, fields in the order of the WSDL...)
#define CHECK(operation, pattern, ...)                                                             \
    {                                                                                              \
        auto *request = soap_new_set__ns__##operation(__VA_ARGS__);                                \
        const std::string outcome = call(unit, &soapServProxy::operation, request);                \
        check(#operation, pattern, outcome);                                                       \
        called.insert(#operation);                                                                 \
        printf("%s %s\n", #operation, outcome.c_str());                                            \
        unit.destroy(); /* frees request and answer */                                             \
    }

int main(int argc, char **argv)
{
    if (argc != 4)
        return EXIT_FAILURE;
    const char *version = argv[2], *authentication = argv[3];
    // Texts are UTF-8. A message is sent as a whole, with its length.
    soapServProxy unit(argv[1], SOAP_C_UTFSTRING | SOAP_IO_STORE);
    struct soap *soap = unit.soap;

    CHECK(thmGetInfo, "WebServer Error: Authentication error: ns__thmGetInfo", soap)
    if (strcmp(authentication, "header") == 0) {
        password = "admin:admin";
    } else if (!logIn(unit, "admin", "admin")) {
        fprintf(stderr, "The login was refused.\n");
        return EXIT_FAILURE;
    }

    int off = 0, on = 1, two = 2, milliseconds = 1000;
    CHECK(getRTU, "512Q", soap)
    CHECK(baselineShowVer, "sim baseline [0-9.]+", soap)
    CHECK(getUserAuth, "250", soap)
    CHECK(getRbacPerm, "3", soap)
    CHECK(coreDbReadData, R"([0-9.]+\|GOOD)", soap, "analog", "FDR1_IA", "%g")
    CHECK(coreDbReadData,
          "WebServer Error: Object read error: Object type analog name NONE not found", soap,
          "analog", "NONE", "%g")
    CHECK(coreDbReadMultData, R"(\[[0-9.]+\|GOOD\]\[X\|X\])", soap, "analog", "[FDR1_IA][NONE]",
          "%g", &two)
    CHECK(coreDbKrunchData, "0", soap, "setPoint", "V_SETPOINT", "131.5")
    CHECK(coreDbReadData, R"(131.5\|.*)", soap, "setPoint", "V_SETPOINT", "")
    CHECK(coreDbKrunchDataQuality, "0", soap, "analog", "BUS1_FREQ", "49.5", "TEST,OLD")
    CHECK(coreDbReadData, R"(49.5\|TEST,OLD)", soap, "analog", "BUS1_FREQ", "%g")
    CHECK(coreDbBlockPoint, "0", soap, "status", "BRK1_POS", &on)
    CHECK(coreDbReadData, R"([01]\|BLOCKED)", soap, "status", "BRK1_POS", "%d")
    CHECK(thmSetTime, "0", soap, "26:11:21:13:05:00")
    CHECK(thmGetInfo, R"(26:11:21:13:05:[0-9]+\|[0-9]+)", soap)
    CHECK(fnPutS, "Grüße, 東京 €", soap, "unit", nullptr, "echo", "Grüße, 東京 €", &milliseconds)
    CHECK(fnPut, "0", soap, "coreDb", nullptr, "setLR", "L")
    CHECK(fnPutS, "L", soap, "coreDb", nullptr, "getLR", nullptr, &milliseconds)
    CHECK(getUsersList, "admin engineer operator viewer ", soap)
    CHECK(getRolesList, "VIEWER OPERATOR ENGINEER ADMIN ", soap)
    CHECK(setUserRoles, "0", soap, "operator", "OPERATOR VIEWER")
    CHECK(getRolesListByUser, "OPERATOR VIEWER ", soap, "operator")
    CHECK(getRolesListByUser, "null", soap, nullptr)
    CHECK(setUserPassword, "0", soap, "engineer", "engineer")
    CHECK(setUserLock, "0", soap, "viewer", &on)
    CHECK(getLockedUsers, "viewer ", soap)
    CHECK(getUserLockState, "0", soap, "viewer")
    CHECK(setUserLock, "0", soap, "viewer", &off)
    CHECK(rtuReboot, "0", soap, "", "")

    check("SOAP version of the answer", version, unit.soap->version == 2 ? "1.2" : "1.1");
    printf("gsoap, SOAP %s, %s: %zu operations, %d checks\n", version, authentication,
           called.size(), checks);
}
