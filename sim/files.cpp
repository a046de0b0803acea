// sim/files.cpp: reads and replaces whole files.
#include "files.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

static const char *const TEMPORARY_SUFFIX = ".new";

// Closes the file and keeps the errno of what happened before.
static int closeWith(int file, int result)
{
    const int error = errno;
    close(file);
    errno = error;
    return result;
}

int readFile(const std::string &path, std::string *text)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (file == -1)
        return -1;
    text->clear();
    char part[BUFSIZ];
    ssize_t length = 0;
    while ((length = read(file, part, sizeof part)) > 0)
        text->append(part, static_cast<std::size_t>(length));
    return closeWith(file, length == 0 ? 0 : -1);
}

static int writeAll(int file, const std::string &text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = write(file, text.data() + done, text.size() - done);
        if (written == -1)
            return -1;
        done += static_cast<std::size_t>(written);
    }
    return fsync(file);
}

int replaceFile(const std::string &path, const std::string &text, mode_t mode)
{
    const std::string temporary = path + TEMPORARY_SUFFIX;
    unlink(temporary.c_str()); // of a start that was cut short; it could have another mode
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file == -1)
        return -1;
    return closeWith(file, writeAll(file, text)) == 0
                   && rename(temporary.c_str(), path.c_str()) == 0
               ? 0
               : -1;
}
