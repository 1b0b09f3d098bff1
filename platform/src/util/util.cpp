#include "util/util.h"

namespace util {
namespace {

ipl::string& storedName() {
    static ipl::string name;
    return name;
}

}  // namespace

std::atomic<int> Util::s_init_count{0};
std::atomic<bool> Util::s_initialized{false};

void Util::init(const char* processName, bool /*threads*/, bool /*timers*/, bool /*shell*/, bool /*logging*/) {
    if (s_initialized.exchange(true)) return;
    storedName() = processName;
}

void Util::cleanupAll() {
    s_initialized = false;
    storedName().clear();
}

const ipl::string& Util::processName() {
    return storedName();
}

}  // namespace util
