// fuzz/envelopes.cpp: an envelope for one of the operations, from a grammar: the input chooses.
#include <expat.h>
#include <regex>

#include "choices.h"
#include "unit.h"

static const std::vector<Lines> &operations() // the name and the fields of each
{
    static const std::vector<Lines> all = [] {
        const std::string text = content(SOAP_INTERFACE);
        const std::regex word("ns__(\\w+)\\(|\\*(\\w+)");
        std::vector<Lines> found;
        for (std::sregex_iterator at(text.begin(), text.end(), word), end; at != end; ++at)
            if ((*at)[1].matched)
                found.push_back({(*at)[1]});
            else if (!found.empty() && (*at)[2] != "return_")
                found.back().push_back((*at)[2]);
        return found;
    }();
    return all;
}

class Envelope : public Choices {
    std::string text(const std::string &name = "")
    {
        if (name == "inputType" && !oneIn(4)) // else most requests would end at these checks
            return "analog";
        if (name == "inputFormat" && !oneIn(4))
            return "%g";
        if (oneIn(2))
            return bytes(80);
        if (oneIn(20))
            return std::string(upTo(3000), 'x');
        return oneOf(
            "analog|command|setPoint|[A][B]|[bad][silent][|%g|%-8.2f|1|2| -1 |1000|2147483648|"
            "24:02:29:23:59:59|admin|&lt;&amp;&#x20AC;|&#0;&#9;|&none;|<![CDATA[<a>]]>|"
            "<!-- a -->1|<?a b?>|\xE2\x82\xAC|\xFF");
    }

    std::string attributes()
    {
        std::string all;
        while (all.size() < 2000 && oneIn(3))
            all +=
                " "
                + oneOf("id='1'|id='2'|href='#1'|href='#2'|ref='1'|E:id='1'|i:nil='true'|i:nil='1'|"
                        "i:type='d:int'|i:type='d:string'|i:type='n:a'|c:arrayType='d:string[2]'|"
                        "E:mustUnderstand='1'|E:actor='a'|E:role='a'|xmlns='urn:soapServ'|"
                        "E:encodingStyle='http://schemas.xmlsoap.org/soap/encoding/'|xmlns:n=''|"
                        "xmlns:n='urn:other'|xml:lang='en'|a|a='<'|a=\"&quot;\"");
        return all + (oneIn(9) ? " " + bytes(40) + "='" + text() + "'" : "");
    }

    std::string element(const std::string &name, int depth = 0)
    {
        const std::string start = "<" + name + attributes();
        if (oneIn(16))
            return start + "/>";
        std::string inner = text(name);
        while (depth < 60 && oneIn(6))
            inner += element(oneOf("inputType|a|n:b|x:c|E:Body"), depth + 1);
        return start + ">" + inner + (oneIn(32) ? "" : "</" + name + ">");
    }

    std::string body()
    {
        const Lines &operation = operations()[upTo(operations().size() - 1)];
        std::string fields, strangers;
        for (std::size_t i = 1; i < operation.size(); ++i)
            fields += oneIn(9) ? "" : element(operation[i]);
        while (strangers.size() < 9000 && oneIn(3))
            strangers += element(oneOf("m|n:m|inputName|n:getRTU|E:Fault"));
        const std::string name = oneOf("n:|n:|n:||x:") + operation[0];
        return "<" + name + attributes() + ">" + fields + (oneIn(2) ? strangers : "") + "</" + name
               + ">" + strangers;
    }

public:
    using Choices::Choices;

    std::string whole()
    {
        const std::string start = oneOf("|<?xml version='1.0' encoding='ISO-8859-1'?>|\xEF\xBB\xBF|"
                                        "\xFE\xFF|<!DOCTYPE a [<!ENTITY b 'c'>]>|<!-- a -->");
        const std::string space = oneOf("http://schemas.xmlsoap.org/soap/envelope/|"
                                        "http://www.w3.org/2003/05/soap-envelope|urn:other|");
        const std::string header = "<E:Header>" + element("Authentication") + "</E:Header>";
        return start + "<E:Envelope xmlns:E='" + space
               + "' xmlns:n='urn:soapServ' "
                 "xmlns:i='http://www.w3.org/2001/XMLSchema-instance' "
                 "xmlns:d='http://www.w3.org/2001/XMLSchema' "
                 "xmlns:c='http://schemas.xmlsoap.org/soap/encoding/'"
               + attributes() + ">" + (oneIn(3) ? header : "") + "<E:Body" + attributes() + ">"
               + body() + "</E:Body></E:Envelope>";
    }
};

// Bytes of a text pass through gSOAP unchecked: control characters, and what is not UTF-8.
static void mustBeXml(const std::string &reply)
{
    const std::size_t begin = reply.find("<?xml");
    if (begin == std::string::npos)
        return;
    std::string xml = std::regex_replace(reply.substr(begin), std::regex("&#x[0-9A-F]+;"), "?");
    std::replace_if(
        xml.begin(), xml.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
    const XML_Parser parser = XML_ParserCreate("ISO-8859-1");
    must(XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), 1) == XML_STATUS_OK, "not XML",
         reply);
    XML_ParserFree(parser);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    operations(); // keeps memory
    Envelope in(data, size);
    FreshUnit unit(in.ConsumeBool());
    unit.host.verdict = in.PickValueInArray<int>({WS_ALLOWED, WS_ALLOWED, WS_NOT_AUTHENTICATED, 1});
    unit.host.status = unit.host.readResult = static_cast<int>(in.upTo(5)) - 1;
    unit.host.refusedBytes = in.oneIn(8) ? in.upTo(2000) : 0;
    unit.host.timeModule = in.oneIn(8) ? 0 : 1;
    unit.host.point = unit.host.answer = in.bytes(400);
    g_webRemote = in.oneIn(2) ? 1 : 0;
    const std::string type =
        in.oneOf("text/xml|application/soap+xml; action=\"a\"|application/x-other|text/xml; "
                 "charset=iso-8859-1");
    const std::string headers =
        in.oneOf("|SOAPAction: \"\"\r\n|Cookie: SESSIONID=a\r\n|Expect: 100-continue\r\n");
    const bool inPieces = in.oneIn(4);
    mustBeXml(
        exchange({post(in.whole(), headers, "/", type), 2, !inPieces, inPieces ? 50U : 9999U}));
    return 0;
}
