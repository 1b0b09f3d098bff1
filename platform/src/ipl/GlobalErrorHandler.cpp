#include "ipl/GlobalErrorHandler.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "ipl/iostream.h"

namespace ipl {
namespace {

void tell(const char* kind, const char* text, const char* function, const char* source) {
    cerr << kind << ": " << text << " (" << function << ", " << source << ')' << endl;
}

}  // namespace

void GlobalErrorHandler::doAssert(const char* expression, const char* function, const char* source) {
    tell("assertion failed", expression, function, source);
}

void GlobalErrorHandler::doWarning(const char* text, const char* function, const char* source) {
    tell("warning", text, function, source);
}

// Without memory: the platform's streams would need some.
void GlobalErrorHandler::doOutOfMem(const char* what, const char* function, const char* source) {
    const char* const texts[] = {"out of memory: ", what, " (", function, ", ", source, ")\n"};
    iovec pieces[std::size(texts)];
    for (std::size_t i = 0; i < std::size(texts); ++i) pieces[i] = {const_cast<char*>(texts[i]), std::strlen(texts[i])};
    [[maybe_unused]] const ssize_t written = ::writev(STDERR_FILENO, pieces, std::size(texts));
    std::abort();
}

}  // namespace ipl
