// net/departure.cpp: what a client has not yet taken of its reply: bytes, then parts of files.
#include "net/departure.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <unistd.h>

// Never waits. What is sent waits in the kernel for more, or for the close that follows the reply, so
// that the last bytes and the end of the connection leave together.
static constexpr int SEND_FLAGS = MSG_DONTWAIT | MSG_NOSIGNAL | MSG_MORE;
static constexpr std::size_t MOST_BYTES_AT_ONCE = 256 * KIB; // then other clients have their turn
// Up to this size, and where the kernel cannot send from the file, a part is read and sent: sendfile costs
// more to set up than so few bytes to copy.
static constexpr std::size_t COPY_BYTES = 16 * KIB;

// A long file may fill more of the kernel's memory than SOCKET_BUFFER_BYTES, and so leaves in fewer turns. It fills
// it with its own pages, which sendfile does not copy. The size is two turns, so that the last turn fills it: if
// room were left, an attempt after a minute would still send something, and a client that takes nothing would
// stay for another minute.
static constexpr int LONG_FILE_BUFFER_BYTES = MOST_BYTES_AT_ONCE; // the kernel doubles it

static bool wouldWait(ssize_t result)
{
    return result < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
}

bool Departure::send(int socket, const char *bytes, std::size_t count)
{
    if (failed_)
        return false;
    ssize_t sent = 0;
    if (bytes_.size() == 0) {
        sent = ::send(socket, bytes, count, SEND_FLAGS);
        if (wouldWait(sent))
            sent = 0;
    }
    failed_ = sent < 0 || !bytes_.append(bytes + sent, count - static_cast<std::size_t>(sent));
    return !failed_;
}

bool Departure::attach(const FilePart *files, int count)
{
    if (files_ != nullptr)
        return false;
    const std::size_t size = static_cast<std::size_t>(count) * sizeof *files;
    files_ = static_cast<FilePart *>(malloc(size));
    if (files_ == nullptr)
        return false;
    memcpy(files_, files, size);
    fileCount_ = count;
    return true;
}

// Returns how many bytes were sent.
std::size_t Departure::sendBytes(int socket)
{
    std::size_t count;
    const char *bytes = bytes_.front(&count);
    const ssize_t sent = ::send(socket, bytes, count, SEND_FLAGS);
    failed_ = sent < 0 && !wouldWait(sent);
    if (sent <= 0)
        return 0;
    bytes_.remove(static_cast<std::size_t>(sent));
    return static_cast<std::size_t>(sent);
}

// Sends a part of a file without sendfile. Returns what sendfile would return.
static ssize_t copyFile(int socket, const FilePart &file, std::size_t count)
{
    char bytes[COPY_BYTES];
    const ssize_t length = pread(file.descriptor, bytes, std::min(count, sizeof bytes),
                                 static_cast<off_t>(file.offset));
    return length <= 0 ? length
                       : ::send(socket, bytes, static_cast<std::size_t>(length), SEND_FLAGS);
}

// Returns how many bytes were sent. A file that ends early or cannot be read ends the connection: the
// client then sees that the reply is shorter than announced.
std::size_t Departure::sendFile(int socket, FilePart *file)
{
    const auto count =
        static_cast<std::size_t>(std::min<uint64_t>(file->length, MOST_BYTES_AT_ONCE));
    auto offset = static_cast<off_t>(file->offset);
    ssize_t sent = -1;
    const bool small = count <= COPY_BYTES;
    if (!small)
        sent = sendfile(socket, file->descriptor, &offset, count);
    if (sent > 0 && file->offset == 0 && file->length > MOST_BYTES_AT_ONCE)
        setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &LONG_FILE_BUFFER_BYTES,
                   sizeof LONG_FILE_BUFFER_BYTES);
    if (small || (sent < 0 && (errno == EINVAL || errno == ENOSYS)))
        sent = copyFile(socket, *file, count);
    failed_ = sent <= 0 && !wouldWait(sent);
    if (sent <= 0)
        return 0;
    file->offset += static_cast<uint64_t>(sent);
    file->length -= static_cast<uint64_t>(sent);
    if (file->length == 0) {
        close(file->descriptor);
        ++nextFile_;
    }
    return static_cast<std::size_t>(sent);
}

std::size_t Departure::proceed(int socket)
{
    std::size_t total = 0;
    while (!isEmpty() && total < MOST_BYTES_AT_ONCE) {
        const std::size_t sent =
            bytes_.size() > 0 ? sendBytes(socket) : sendFile(socket, files_ + nextFile_);
        if (sent == 0)
            break;
        total += sent;
    }
    return total;
}

void Departure::clear()
{
    bytes_.clear();
    for (; nextFile_ < fileCount_; ++nextFile_)
        close(files_[nextFile_].descriptor);
    free(files_);
    files_ = nullptr;
    fileCount_ = nextFile_ = 0;
    failed_ = false;
}
