#include "ipl/GlobalErrorHandler.h"

#include <cstdlib>

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

void GlobalErrorHandler::doOutOfMem(const char* what, const char* function, const char* source) {
    tell("out of memory", what, function, source);
    std::abort();
}

}  // namespace ipl
