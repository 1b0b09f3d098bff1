#pragma once

#include "ipl/string.h"
#include "ipl/vector.h"

namespace ipl {

/// Where failed operations leave their reasons.
///
/// Each thread has at most one pending error, its latest; it stays until the thread acknowledges it or another error
/// takes its place. The storage object made last is the one in force and decides what becomes of errors that nobody
/// acknowledged; without an object they are kept and never shown. The static operations may be called by any thread
/// at any time; the objects belong to the main thread and end in the reverse order of their construction.
class ErrorStorage {
  public:
    struct Record {
        string type;    ///< what kind of code it is, such as "comm::Error"
        int code;       ///< the error's number among its kind
        string reason;  ///< what failed, on which object, and why
        string source;  ///< the place in the code that noticed it
        int line;
    };

    ErrorStorage(const ErrorStorage&) = delete;
    ErrorStorage& operator=(const ErrorStorage&) = delete;

    /// Whether an error is pending: the calling thread's if `ownThread`, otherwise any thread's.
    static bool isError(bool ownThread);

    /// The text of the calling thread's pending error, or null. It is good until this thread's next error or `ack()`.
    static const char* reason();

    /// The same as a text of the caller's own, empty when no error is pending.
    static string reasonText();

    /// Removes the calling thread's pending error, if there is one.
    static void ack();

    /// Makes an error the pending one of the calling thread. Code reports its errors through `ErrorOutput`.
    static void record(Record error);

  protected:
    ErrorStorage();
    virtual ~ErrorStorage();

    /// Hands over every thread's pending error, in the order of the threads' first errors, and forgets them.
    static vector<Record> takePending();

  private:
    ErrorStorage* m_previous;
};

}  // namespace ipl
