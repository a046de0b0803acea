// net/request_end.cpp: finds where an HTTP request ends, while it arrives.
#include "net/request_end.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "base/text.h"
#include "net/limits.h"

static constexpr std::size_t MAX_HEADER_LINE = 8190; // gSOAP refuses longer ones
static constexpr std::size_t MAX_SIZE_DIGITS = 16;   // of a chunk; gSOAP refuses more

static bool isBlank(char character)
{
    return character == ' ' || character == '\t';
}

// Adds to the line up to its end or the longest line allowed. Returns how many bytes.
std::size_t RequestEnd::addToLine(const char *data, std::size_t size)
{
    std::size_t count = 0, length = lineLength_;
    for (; count < size && length <= MAX_HEADER_LINE; ++count, ++length) {
        if (data[count] == '\n' || data[count] == '\r')
            break;
        if (length < LINE_SIZE - 1)
            line_[length] = data[count];
    }
    lineLength_ = length;
    if (length > MAX_HEADER_LINE)
        state_ = COMPLETE;
    return count;
}

// Returns the value of the header line if this is its name, without spaces and one pair of quotes around
// it, as gSOAP takes it; else null. Changes the line when it returns a value.
static char *valueOf(char *line, const char *name)
{
    const std::size_t length = strlen(name);
    if (strncasecmp(line, name, length) != 0 || line[length] != ':')
        return nullptr;
    char *value = line + length + 1;
    while (*value != '\0' && isSpaceOrControl(*value))
        ++value;
    char *last = value + strlen(value) - 1;
    while (last > value && isSpaceOrControl(*last))
        --last;
    if (last > value && *value == '"' && *last == '"') {
        ++value;
        --last;
    }
    last[1] = '\0';
    return value;
}

static bool isFormType(const char *type)
{
    static constexpr char MULTIPART[] = "multipart/form-data";
    return strcasecmp(type, "application/x-www-form-urlencoded") == 0
           || strncasecmp(type, MULTIPART, strlen(MULTIPART)) == 0;
}

// Returns true when the text ends with the end tag of an envelope.
static bool endsWithEnvelope(const char *text, std::size_t size)
{
    static constexpr char END[] = "Envelope>";
    static constexpr std::size_t LENGTH = sizeof END - 1;
    while (size > 0 && isSpaceOrControl(text[size - 1]))
        --size;
    if (size < LENGTH || memcmp(text + size - LENGTH, END, LENGTH) != 0)
        return false;
    const auto *tag = static_cast<const char *>(memrchr(text, '<', size - LENGTH));
    return tag != nullptr && tag[1] == '/';
}

void RequestEnd::endLine()
{
    line_[std::min(lineLength_, LINE_SIZE - 1)] = '\0';
    lineLength_ = 0;
    if (!inHeaders_) {
        inHeaders_ = true;
        if (strncmp(line_, "POST ", 5) == 0)
            method_ = POST;
        for (const char *method : {"GET ", "HEAD ", "DELETE ", "OPTIONS "})
            if (strncmp(line_, method, strlen(method)) == 0)
                method_ = WITHOUT_ENVELOPE;
    } else if (const char *length = valueOf(line_, "Content-Length")) {
        length_ = strtoull(length, nullptr, 10);
        announced_ = length_ != 0;
        noBody_ = noBody_ || length_ == 0;
    } else if (const char *coding = valueOf(line_, "Transfer-Encoding")) {
        chunked_ = strcasecmp(coding, "chunked") == 0;
    } else if (const char *type = valueOf(line_, "Content-Type")) {
        form_ = form_ || isFormType(type);
    } else if (const char *expected = valueOf(line_, "Expect")) {
        continue_ = continue_ || strcasecmp(expected, "100-continue") == 0;
    }
}

void RequestEnd::endHeader()
{
    remaining_ = length_;
    const bool tooLong = length_ > maxRequestBytes();
    const bool counted = method_ == WITHOUT_ENVELOPE || form_;
    if (method_ == OTHER)
        state_ = COMPLETE;
    else if (chunked_)
        state_ = CHUNK_START;
    else if (counted)
        state_ = announced_ && !tooLong ? COUNTED : COMPLETE;
    else
        state_ = noBody_ ? COMPLETE : ENVELOPE;
}

// Looks at as many bytes as it can with one decision. Returns how many.
std::size_t RequestEnd::step(const char *data, std::size_t size)
{
    const char character = *data;
    switch (state_) {
    case START: // gSOAP skips spaces before the method, and refuses all that is not a letter
        if (isSpaceOrControl(character))
            return 1;
        state_ = isalpha(static_cast<unsigned char>(character)) != 0 ? LINE : COMPLETE;
        return 0;
    case LINE:
        if (character == '\n') {
            if (lineLength_ == 0)
                endHeader();
            else
                state_ = LINE_END;
        } else if (character != '\r') {
            return addToLine(data, size);
        }
        return 1;
    case LINE_END:
        state_ = LINE;
        if (!isBlank(character))
            endLine();
        return 0;
    case COUNTED:
    case CHUNK_DATA: {
        const auto count = static_cast<std::size_t>(std::min<uint64_t>(remaining_, size));
        remaining_ -= count;
        if (remaining_ == 0)
            state_ = state_ == COUNTED ? COMPLETE : CHUNK_START;
        return count;
    }
    case ENVELOPE: {
        // Nearly always all announced bytes are here, and the last tag closes the envelope. Then the tags need not
        // be counted.
        if (size == remaining_ && endsWithEnvelope(data, size)) {
            state_ = COMPLETE;
            return size;
        }
        const std::size_t count = envelope_.see(data, size);
        remaining_ -= std::min<uint64_t>(remaining_, count);
        if (envelope_.hasEnded())
            state_ = COMPLETE;
        return count;
    }
    case CHUNK_START:
        if (isxdigit(static_cast<unsigned char>(character)) == 0)
            return 1;
        state_ = CHUNK_SIZE;
        return 0;
    case CHUNK_SIZE:
        if (isxdigit(static_cast<unsigned char>(character)) == 0 || lineLength_ == MAX_SIZE_DIGITS)
            state_ = CHUNK_LINE;
        else
            line_[lineLength_++] = character;
        return state_ == CHUNK_SIZE ? 1 : 0;
    case CHUNK_LINE:
        if (character == '\n') {
            line_[lineLength_] = '\0';
            lineLength_ = 0;
            remaining_ = strtoull(line_, nullptr, 16);
            state_ = remaining_ == 0 || remaining_ > maxRequestBytes() ? COMPLETE : CHUNK_DATA;
        }
        return 1;
    default:
        return size;
    }
}

void RequestEnd::see(const char *data, std::size_t size)
{
    while (size > 0) {
        const std::size_t count = step(data, size);
        data += count;
        size -= count;
    }
}

bool RequestEnd::takeContinue()
{
    const bool wanted = continue_ && state_ > LINE_END;
    continue_ = continue_ && !wanted;
    return wanted;
}
