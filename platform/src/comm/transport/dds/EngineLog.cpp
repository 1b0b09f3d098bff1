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
    std::map<ipl::string, Clock::time_point> told;
};

// The engine's threads may speak until the very end, so it is never destroyed.
State& state() {
    static auto& instance = *new State;
    return instance;
}

// A network that is down, or garbage that comes, is told at every packet. Lines that begin alike tell the same, and the
// same again is not worth a line for a while.
bool isRepetition(State& state, const ipl::string& line) {
    constexpr std::size_t Beginning = 32;
    constexpr std::chrono::seconds Pause{10};
    const Clock::time_point now = Clock::now();
    std::erase_if(state.told, [&](const auto& item) { return now - item.second > Pause; });
    return !state.told.emplace(line.substr(0, Beginning), now).second;
}

void say(void* /*argument*/, const dds_log_data_t* data) {
    constexpr std::size_t Longest = 300;
    ipl::string line(data->message, std::min(data->size, Longest));
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.pop_back();
    State& log = state();
    const std::scoped_lock lock(log.mutex);
    if (log.starting)
        log.kept += (log.kept.empty() ? "" : "; ") + line;
    else if (!isRepetition(log, line))
        EngineLog::warn(line);
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
