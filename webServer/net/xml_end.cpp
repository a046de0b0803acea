// net/xml_end.cpp: finds where the first element of an XML text ends, while it arrives.
#include "net/xml_end.h"

#include <cstring>

#include "base/text.h"

static constexpr char BYTE_ORDER_MARK = '\xEF'; // the first byte of UTF-8's

void XmlEnd::passOver(Closes closes)
{
    state_ = PASSED_OVER;
    closes_ = closes;
    last_ = beforeLast_ = 0; // "<!-->" does not close itself
}

void XmlEnd::closeElement()
{
    state_ = --depth_ > 0 ? TEXT : ENDED;
}

// Returns true when ">", the character after the last one, closes what is passed over.
bool XmlEnd::isClosed() const
{
    switch (closes_) {
    case BY_QUESTION_MARK:
        return last_ == '?';
    case BY_BRACKETS:
        return last_ == ']' && beforeLast_ == ']';
    case BY_DASHES:
        return last_ == '-' && beforeLast_ == '-';
    default:
        return true;
    }
}

void XmlEnd::see(char character)
{
    switch (state_) {
    case BEFORE:
        if (!isSpaceOrControl(character))
            state_ = character == '<' ? OPEN : character == BYTE_ORDER_MARK ? TEXT : ENDED;
        break;
    case TEXT:
        if (character == '<')
            state_ = OPEN;
        break;
    case OPEN:
        if (character == '?')
            passOver(BY_QUESTION_MARK);
        else
            state_ = character == '!' ? DECLARATION : character == '/' ? END_TAG : START_TAG;
        break;
    case DECLARATION:
        passOver(character == '-' ? BY_DASHES : character == '[' ? BY_BRACKETS : BY_GREATER);
        break;
    case START_TAG:
        if (character == '"' || character == '\'') {
            quote_ = character;
            state_ = QUOTED;
        } else if (character == '>') {
            ++depth_;
            state_ = TEXT;
            if (last_ == '/')
                closeElement();
        }
        break;
    case QUOTED:
        if (character == quote_)
            state_ = START_TAG;
        break;
    case END_TAG:
        if (character == '>')
            closeElement();
        break;
    case PASSED_OVER:
        if (character == '>' && isClosed())
            state_ = TEXT;
        break;
    case ENDED:
        break;
    }
    beforeLast_ = last_;
    last_ = character;
}

std::size_t XmlEnd::see(const char *text, std::size_t size)
{
    std::size_t seen = 0;
    while (seen < size && !hasEnded()) {
        if (state_ == TEXT) { // most of a long request; only "<" counts in it
            const void *const tag = memchr(text + seen, '<', size - seen);
            if (tag == nullptr)
                return size;
            seen = static_cast<std::size_t>(static_cast<const char *>(tag) - text);
        }
        see(text[seen++]);
    }
    return seen;
}
