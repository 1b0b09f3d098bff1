#pragma once

namespace ipl {

/// What happens when the code finds itself or its surroundings broken. Any thread may call it.
///
/// Each report is one line on standard error that says what happened and where. Assertions and warnings return, and
/// the caller goes on as well as it can; without memory there is nothing to go on with, so that one ends the process.
class GlobalErrorHandler {
  public:
    /// A condition of the code does not hold: its expression, the function, and the source path without extension.
    static void doAssert(const char* expression, const char* function, const char* source);

    /// Something is wrong that the code copes with.
    static void doWarning(const char* text, const char* function, const char* source);

    /// An allocation failed that cannot be done without. Aborts the process; takes no memory itself.
    [[noreturn]] static void doOutOfMem(const char* what, const char* function, const char* source);
};

}  // namespace ipl
