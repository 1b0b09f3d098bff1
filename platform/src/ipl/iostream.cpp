#include "ipl/iostream.h"

#include <cstdio>
#include <streambuf>
#include <string>

namespace ipl {
namespace {

// Collects what one thread writes and hands it to the C stream in whole lines: one fwrite is one piece there.
class LineBuffer final : public std::streambuf {
  public:
    explicit LineBuffer(std::FILE** stream) : m_stream(stream) {}
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
    ~LineBuffer() override { writeOut(); }

  protected:
    int_type overflow(int_type c) override {
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            m_line += traits_type::to_char_type(c);
            if (m_line.back() == '\n') writeOut();
        }
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(const char* text, std::streamsize count) override {
        m_line.append(text, static_cast<std::size_t>(count));
        if (m_line.find('\n') != std::string::npos) writeOut();
        return count;
    }

    int sync() override {
        writeOut();
        return 0;
    }

  private:
    void writeOut() {
        if (m_line.empty()) return;
        // Without a reader there is nobody to tell of the failure.
        std::FILE* const file = __atomic_load_n(m_stream, __ATOMIC_ACQUIRE);
        (void)std::fwrite(m_line.data(), 1, m_line.size(), file);
        (void)std::fflush(file);
        m_line.clear();
    }

    std::FILE** m_stream;  // which another thread may replace, as the shell does in a terminal
    std::string m_line;
};

thread_local LineBuffer outBuffer{&stdout};
thread_local LineBuffer errBuffer{&stderr};

}  // namespace

thread_local ostream cout{&outBuffer};
thread_local ostream cerr{&errBuffer};

}  // namespace ipl
