// SPDX-License-Identifier: Apache-2.0
//
// Converts texts from one encoding into another and tells where an input is malformed, by its byte.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zelcommon.h>
#include <zelposix.h>

#include "Converter.h"
#include "IconvErrors.h"
#include "Options.h"

namespace {

using namespace zeliconv;

enum Status { CONVERTED = 0, MALFORMED = 1, FAILED = 2 };

constexpr unsigned int OUTPUT_BUFFER = 64 * 1024;
constexpr mode_t PERMISSIONS = 0666; // less the process's mask

bool raiseSystemError(const char* call, int row)
{
    const int code = errno;
    ZEL_RAISE(zel::PosixError, zel::POSIX_FAILED, call, std::strerror(code), code);
    ZEL_RAISE_ON(FileError, row);
    return false;
}

/// A descriptor, closed at the end unless it is a standard one.
class File
{
public:
    explicit File(int fd) : m_fd(fd) {}
    ~File() { close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    int fd() const { return m_fd; }

    /// Returns false, with errno, if the system has found only now that something was lost.
    bool close()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd <= STDERR_FILENO || ::close(fd) == 0 || errno == EINTR;
    }

private:
    int m_fd;
};

void printChain(const char* name, const std::ErrorObject* error)
{
    std::fprintf(stderr, "zel-iconv");
    if (name != nullptr) std::fprintf(stderr, ": %s", name);
    for (; error != nullptr; error = error->m_cause)
        std::fprintf(stderr, ": %s", error->reason());
    std::fputc('\n', stderr);
}

/// Standard output is for the text, so no storage that prints there.
void tellOfUnhandled(void* /*data*/, const char* text, const std::ErrorObject* error,
                     unsigned int /*count*/)
{
    printChain(text, error);
}

/// Returns whether the pending error is one of the output.
bool isOutputLost()
{
    const std::ErrorObject* const error = std::ErrorStorage::get();
    return error->isA(FileError) && error->id() == FILE_UNWRITTEN;
}

/// Tells of the pending error, acknowledges it and returns what the process ends with.
Status report(const char* input, const char* output)
{
    const std::ErrorObject* const error = std::ErrorStorage::get();
    const bool isText = error->isA(TextError);
    if (isText)
        std::fprintf(stderr, "%s:%s\n", input, error->reason());
    else
        printChain(isOutputLost() ? output : input, error);
    std::ErrorStorage::ack();
    return isText ? MALFORMED : FAILED;
}

bool isStandardInput(const std::string& name)
{
    return name == STANDARD_INPUT;
}

const char* shownInput(const std::string& name)
{
    return isStandardInput(name) ? "standard input" : name.c_str();
}

/// Emptying the output must not empty an input, nor must what is written be read again.
bool isWritten(const std::string& name, const std::string& output)
{
    struct stat input
    {};
    struct stat out
    {};
    const int inputStatus =
        isStandardInput(name) ? fstat(STDIN_FILENO, &input) : stat(name.c_str(), &input);
    const int outStatus = output.empty() ? fstat(STDOUT_FILENO, &out) : stat(output.c_str(), &out);
    if (inputStatus != 0 || outStatus != 0) return false;
    return S_ISREG(out.st_mode) && input.st_dev == out.st_dev && input.st_ino == out.st_ino;
}

int openOutput(const std::string& name)
{
    if (name.empty()) return STDOUT_FILENO;
    return open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, PERMISSIONS);
}

bool convertFile(const std::string& name, Converter& converter)
{
    const File file(isStandardInput(name) ? STDIN_FILENO
                                          : open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) return raiseSystemError("open", FILE_UNREAD);
    zel::FdInputStream input(file.fd(), 0);
    return converter.convert(input);
}

bool finish(zel::FdOutputStream& stream, File& output)
{
    if (stream.flush(false)) {
        ZEL_RAISE_ON(FileError, FILE_UNWRITTEN);
        return false;
    }
    return output.close() || raiseSystemError("close", FILE_UNWRITTEN);
}

Status convertAll(const Options& options, const char* outputName)
{
    File output(openOutput(options.output));
    if (!output.isOpen()) {
        raiseSystemError("open", FILE_UNWRITTEN);
        return report(nullptr, outputName);
    }
    zel::FdOutputStream stream(output.fd(), OUTPUT_BUFFER);
    Converter converter(options.from, *options.to, options.replaces, stream);
    Status status = CONVERTED;
    for (const std::string& name : options.files) {
        if (convertFile(name, converter)) continue;
        if (isOutputLost()) return report(nullptr, outputName);
        status = report(shownInput(name), outputName);
        break;
    }
    if (!finish(stream, output)) return report(nullptr, outputName); // also what was right before
    return status == CONVERTED && !converter.isClean() ? MALFORMED : status;
}

Status run(const Options& options)
{
    for (const std::string& name : options.files) {
        if (!isWritten(name, options.output)) continue;
        ZEL_RAISE(FileError, FILE_READ_AND_WRITTEN);
        return report(shownInput(name), nullptr);
    }
    return convertAll(options, options.output.empty() ? "standard output" : options.output.c_str());
}

Status help()
{
    std::fputs(HELP, stdout);
    return std::fflush(stdout) == 0 ? CONVERTED : FAILED;
}

/// Sees to it that no file takes the place of a standard stream that is closed: to use it fails.
void holdStandardStreams()
{
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(fd, F_GETFD) == -1)
            static_cast<void>(open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

} // namespace

int main(int argc, char* argv[])
{
    holdStandardStreams();
    const std::CustomErrorStorage errors(tellOfUnhandled);
    Options options;
    if (!parseOptions(argc, argv, options)) {
        const Status status = report(nullptr, nullptr);
        std::fputs("zel-iconv -h tells how it is used\n", stderr);
        return status;
    }
    return options.help ? help() : run(options);
}
