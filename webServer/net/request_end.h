// net/request_end.h: finds where an HTTP request ends, while it arrives.
#pragma once

#include <cstddef>
#include <cstdint>

#include "net/xml_end.h"

// Sees a request's bytes once, in order, and keeps none of them. It sees the end where gSOAP will stop to
// read. Where gSOAP would refuse, the request counts as complete: it is then refused without a wait.
class RequestEnd {
    enum State {
        START,       // before the first letter
        LINE,        // in the request line or a header line
        LINE_END,    // after a line feed: a space or tab continues the line
        COUNTED,     // in a body of which remaining_ bytes are missing
        ENVELOPE,    // in a body that ends with its envelope; remaining_ are announced and missing
        CHUNK_START, // before the digits of a chunk's size
        CHUNK_SIZE,  // in them
        CHUNK_LINE,  // in the rest of their line
        CHUNK_DATA,  // in a chunk of which remaining_ bytes are missing
        COMPLETE,
    };
    enum Method { OTHER, POST, WITHOUT_ENVELOPE }; // OTHER: gSOAP answers without reading a body

    static constexpr std::size_t LINE_SIZE = 128; // longer than all that is looked at

    State state_ = START;
    Method method_ = OTHER;
    bool inHeaders_ = false; // after the request line
    bool form_ = false;
    bool chunked_ = false;
    bool noBody_ = false;    // a length of 0 was announced
    bool continue_ = false;  // the client waits for "100 Continue"
    bool announced_ = false; // a length was announced
    uint64_t remaining_ = 0;
    uint64_t length_ = 0; // announced
    std::size_t lineLength_ = 0;
    char line_[LINE_SIZE] = {};
    XmlEnd envelope_;

    std::size_t addToLine(const char *data, std::size_t size);
    void endLine();
    void endHeader();
    std::size_t step(const char *data, std::size_t size);

public:
    void see(const char *data, std::size_t size);

    bool isComplete() const { return state_ == COMPLETE; }

    // Returns true when all announced bytes have come but the envelope is not closed: the client has
    // perhaps announced too little.
    bool isUnclosed() const { return state_ == ENVELOPE && announced_ && remaining_ == 0; }

    // Returns true once, when the header is complete and asks for "100 Continue".
    bool takeContinue();
};
