#pragma once

#include <functional>
#include <list>

#include "ipl/RepeatLimit.h"
#include "ipl/string.h"

/// What a transfer says about its connections, the openings of its file. Of each message one a second is printed and
/// the others are counted, since a file that fails at once fails many thousand times a second. For one thread.
class ConnectionMessages {
  public:
    using Clock = ipl::RepeatLimit::Clock;
    /// Takes a message that is to be printed.
    using Print = std::function<void(const ipl::string& text)>;

    explicit ConnectionMessages(Print print) : m_print(std::move(print)) {}

    /// A connection begins. What is said during its first moments has the time of its beginning, so that all messages
    /// of a brief one are printed or held back together, and those printed keep their order.
    void begin(Clock::time_point now = Clock::now()) { m_begin = now; }
    /// Prints the text, or counts it if the same was printed less than a second ago. A reason that goes with it is a
    /// line of its own before it; the same text with another reason is another message.
    void say(const ipl::string& text, const ipl::string& reason = {}, Clock::time_point now = Clock::now());
    /// Prints how many of each were held back, so that none is missing at a transfer's end.
    void conclude();

  private:
    static constexpr std::chrono::milliseconds Moment{100};

    struct Message {
        ipl::string text;
        ipl::string reason;
        ipl::RepeatLimit limit;
    };

    Message& find(const ipl::string& text, const ipl::string& reason);
    void print(const Message& message, const ipl::string& text) const;

    const Print m_print;
    Clock::time_point m_begin = Clock::time_point::min();
    std::list<Message> m_messages;  // in the order in which they came first
};
