#include "ConnectionMessages.h"

#include <algorithm>

void ConnectionMessages::say(const ipl::string& text, const ipl::string& reason, Clock::time_point now) {
    Message& message = find(text, reason);
    ipl::string counted = text;
    if (message.limit.admit(counted, now < m_begin + Moment ? m_begin : now)) print(message, counted);
}

void ConnectionMessages::conclude() {
    for (Message& message : m_messages)
        if (ipl::string counted = message.text; message.limit.conclude(counted)) print(message, counted);
}

ConnectionMessages::Message& ConnectionMessages::find(const ipl::string& text, const ipl::string& reason) {
    const auto found = std::find_if(m_messages.begin(), m_messages.end(), [&](const Message& message) {
        return message.text == text && message.reason == reason;
    });
    if (found != m_messages.end()) return *found;
    Message& message = m_messages.emplace_back();
    message.text = text;
    message.reason = reason;
    return message;
}

void ConnectionMessages::print(const Message& message, const ipl::string& text) const {
    if (!message.reason.empty()) m_print(message.reason);
    m_print(text);
}
