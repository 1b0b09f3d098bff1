#pragma once

#include <ostream>

namespace ipl {

using ostream = std::ostream;

/// Ends a line: writes the newline and flushes.
using std::endl;

/// The platform streams to standard output and standard error.
///
/// Each thread has its own; a line goes out whole, when it is ended or the stream is flushed, so the lines of
/// several threads never mix. They write through the same buffers as `printf`, so a thread's lines keep their order.
/// A write that fails is dropped: the bench goes on when nobody reads its output any more.
extern thread_local ostream cout;
extern thread_local ostream cerr;

}  // namespace ipl
