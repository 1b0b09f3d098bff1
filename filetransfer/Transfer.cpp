#include "Transfer.h"

#include <system_error>
#include <utility>

#include "osal/common/Time.h"

namespace {

constexpr long long RetryTime = 1000;  // ms

}  // namespace

Transfer::Transfer(Parameters parameters, std::atomic<bool>& running, Print print)
    : m_parameters(std::move(parameters)), m_running(running), m_print(std::move(print)), m_messages(m_print) {}

ipl::string Transfer::countText() const {
    if (m_parameters.count == 0) return "  cnt:    0 (forever)";
    return ipl::string("  cnt:         ").append(std::to_string(m_parameters.count));
}

void Transfer::finish() {
    m_running = false;
    m_messages.conclude();
    m_print("finished - all specified bytes sent");
}

void Transfer::waitForFile() const {
    m_print("unable to open communication file retrying..");
    osal::Time::sleep(RetryTime);
}

void Transfer::reportInterruption(const ipl::string& operation, int error) {
    if (error == 0)
        m_messages.say(operation + " returned 0 - eof - reestablish communication");
    else
        m_messages.say(operation + " returned error - trying to reestablish communication",
                       std::generic_category().message(error));
}
