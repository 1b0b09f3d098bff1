#include "ipl/StdoutDumpErrorStorage.h"

#include "ipl/iostream.h"

namespace ipl {

StdoutDumpErrorStorage::~StdoutDumpErrorStorage() {
    for (const Record& error : takePending())
        cout << "unacknowledged error: " << error.reason << " (" << error.type << ' ' << error.code << ", "
             << error.source << ':' << error.line << ')' << endl;
}

}  // namespace ipl
