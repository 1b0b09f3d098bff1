#include "EngineLog.h"

#include <dds/ddsrt/log.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <utility>

#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {
namespace {

using Clock = std::chrono::steady_clock;

struct State {
    std::mutex mutex;  // guards what follows; the engine speaks on all of its threads
    bool starting = false;
    ipl::string kept;
    std::map<ipl::string, Clock::time_point> shown;
};

// The engine's threads may speak until the very end, so it is never destroyed.
State& state() {
    static auto& instance = *new State;
    return instance;
}

// The engine reports a network that is down, or garbage that comes, at every packet. Lines that begin alike say the
// same, and the same again is not worth a line for a while.
bool isRepetition(State& state, const ipl::string& line) {
    constexpr std::size_t Beginning = 32;
    constexpr std::chrono::seconds Pause{10};
    const Clock::time_point now = Clock::now();
    std::erase_if(state.shown, [&](const auto& item) { return now - item.second > Pause; });
    return !state.shown.emplace(line.substr(0, Beginning), now).second;
}

// Whether a line is to be shown now. While the engine starts it is kept instead.
bool admit(const ipl::string& line) {
    State& log = state();
    const std::scoped_lock lock(log.mutex);
    if (!log.starting) return !isRepetition(log, line);
    log.kept += (log.kept.empty() ? "" : "; ") + line;
    return false;
}

void say(void* /*argument*/, const dds_log_data_t* data) {
    constexpr std::size_t Longest = 300;
    ipl::string line(data->message, std::min(data->size, Longest));
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.pop_back();
    if (admit(line)) EngineLog::warn(line);
}

}  // namespace

void EngineLog::warn(const ipl::string& text) {
    ipl::GlobalErrorHandler::doWarning(text.c_str(), "Cyclone DDS", "comm/transport/dds/EngineLog");
}

void EngineLog::begin() {
    {
        const std::scoped_lock lock(state().mutex);
        state().starting = true;
        state().kept.clear();
    }
    ::dds_set_log_sink(&say, nullptr);
}

ipl::string EngineLog::endOfStart() {
    const std::scoped_lock lock(state().mutex);
    state().starting = false;
    return std::exchange(state().kept, {});
}

}  // namespace comm::transport
