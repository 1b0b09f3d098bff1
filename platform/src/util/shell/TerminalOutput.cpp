#include "shell/TerminalOutput.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace util::shell {
namespace {

bool errorsGoToTheSameTerminal() {
    struct stat out {};
    struct stat error {};
    return ::isatty(STDERR_FILENO) != 0 && ::fstat(STDOUT_FILENO, &out) == 0 && ::fstat(STDERR_FILENO, &error) == 0 &&
           out.st_rdev == error.st_rdev;
}

}  // namespace

TerminalOutput* TerminalOutput::open() {
    // Threads that outlive main print through it, so it is never destroyed.
    static TerminalOutput* const instance = [] {
        auto* const output = new TerminalOutput;
        std::FILE* const out = makeStream(output->m_out, _IOLBF);
        if (out == nullptr) return static_cast<TerminalOutput*>(nullptr);
        std::FILE* const error = errorsGoToTheSameTerminal() ? makeStream(output->m_error, _IONBF) : nullptr;
        __atomic_store_n(&stdout, out, __ATOMIC_RELEASE);
        if (error != nullptr) __atomic_store_n(&stderr, error, __ATOMIC_RELEASE);
        return output;
    }();
    return instance;
}

std::FILE* TerminalOutput::makeStream(Stream& stream, int mode) {
    constexpr cookie_io_functions_t Functions{.read = nullptr, .write = &write, .seek = nullptr, .close = nullptr};
    std::FILE* const file = ::fopencookie(&stream, "w", Functions);
    if (file != nullptr) (void)std::setvbuf(file, nullptr, mode, mode == _IONBF ? 0 : BUFSIZ);
    return file;
}

void TerminalOutput::acquire() {
    m_mutex.lock();
    if (m_rowBegun) print("\n");
    m_rowBegun = false;
}

void TerminalOutput::release() {
    for (Stream* const stream : {&m_out, &m_error}) {
        if (stream->unfinished.empty()) continue;
        print(stream->unfinished);
        stream->unfinished.clear();
        m_rowBegun = true;
    }
    m_mutex.unlock();
}

void TerminalOutput::releaseAbove(Line* line) {
    m_line = line;
    m_mutex.unlock();
}

void TerminalOutput::reacquire() {
    m_mutex.lock();
    m_line = nullptr;
}

// What cannot be written is dropped, as everywhere: the bench goes on when nobody reads its output any more.
ssize_t TerminalOutput::write(void* stream, const char* text, std::size_t size) {
    auto& destination = *static_cast<Stream*>(stream);
    destination.output.write(destination, {text, size});
    return static_cast<ssize_t>(size);
}

void TerminalOutput::write(Stream& stream, std::string_view text) {
    const std::scoped_lock lock(m_mutex);
    if (m_line == nullptr) {
        m_rowBegun = !text.ends_with('\n');
        return print(text);
    }
    stream.unfinished += text;
    const std::size_t size = stream.unfinished.rfind('\n') + 1;
    if (size == 0) return;
    print(m_line->erasure().append(stream.unfinished, 0, size));
    m_line->draw();
    stream.unfinished.erase(0, size);
}

void TerminalOutput::print(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace util::shell
