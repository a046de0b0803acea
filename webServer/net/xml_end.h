// net/xml_end.h: finds where the first element of an XML text ends, while it arrives.
#pragma once

#include <cstddef>

// Sees the text once, in order, and keeps none of it. It counts tags and passes over comments, CDATA, quoted
// values and processing instructions; it does not check names.
class XmlEnd {
    enum State {
        BEFORE,      // before the first byte that is not white space
        TEXT,        // between tags
        OPEN,        // after "<"
        DECLARATION, // after "<!"
        START_TAG,
        QUOTED, // in a value of a start tag
        END_TAG,
        PASSED_OVER, // until what closes_ says
        ENDED,
    };
    enum Closes { BY_GREATER, BY_QUESTION_MARK, BY_BRACKETS, BY_DASHES }; // ">", "?>", "]]>", "-->"

    State state_ = BEFORE;
    Closes closes_ = BY_GREATER;
    char quote_ = 0;
    char last_ = 0, beforeLast_ = 0; // characters
    int depth_ = 0;                  // open elements

    void see(char character);
    void passOver(Closes closes);
    void closeElement();
    bool isClosed() const;

public:
    // Returns how many bytes it looked at: not beyond the element's end.
    std::size_t see(const char *text, std::size_t size);

    // Returns true when the element has ended, and for a text that cannot be XML.
    bool hasEnded() const { return state_ == ENDED; }
};
