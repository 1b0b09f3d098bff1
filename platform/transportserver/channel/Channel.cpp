#include "Channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace transport {

void Channel::addWriter() {
    const std::lock_guard lock(m_mutex);
    ++m_writers;
    ++m_writersSoFar;
}

void Channel::removeWriter() {
    Answers answers;
    {
        const std::lock_guard lock(m_mutex);
        if (--m_writers == 0) answerWaitingReads(0, answers);
    }
    deliver(std::move(answers));
}

Channel::Reader Channel::addReader() {
    const std::lock_guard lock(m_mutex);
    ++m_readers;
    // A writer that is still there, or has left bytes behind, is not missed.
    const bool isInTime = m_writers > 0 || !m_bytes.isEmpty();
    return {isInTime ? m_writersSoFar - 1 : m_writersSoFar};
}

void Channel::removeReader() {
    const std::lock_guard lock(m_mutex);
    --m_readers;
}

std::optional<Channel::TimePoint> Channel::read(const Reader& reader, std::size_t size,
                                                std::unique_ptr<Request> request, TimePoint now) {
    Answers answers;
    std::optional<TimePoint> due;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_bytes.isEmpty()) {
            answers.push_back({std::move(request), 0, m_bytes.take(size)});
            enterWaiting(answers);
        } else if (m_writers == 0 && reader.writers != m_writersSoFar) {
            answers.push_back({std::move(request), 0, {}});
        } else if (request->m_isWithdrawn) {
            answers.push_back({std::move(request), EINTR, {}});
        } else {
            due = now + m_limits.idleTime;
            m_reads.push_back({std::move(request), size, *due});
        }
    }
    deliver(std::move(answers));
    return due;
}

std::optional<Channel::TimePoint> Channel::write(std::unique_ptr<WriteRequest> request, TimePoint now) {
    const std::span<const std::byte> written = request->bytes();
    Slice bytes{written.size() < KeptSize ? nullptr : request->keep(), written.data(), written.size()};
    Answers answers;
    std::optional<TimePoint> due;
    {
        const std::lock_guard lock(m_mutex);
        if (m_writes.empty() && fits(bytes.size)) {
            const bool isKept = bytes.owner != nullptr;
            enter(std::move(bytes), answers);
            // Bytes that are not kept are given to readers from memory that ends with the writer's answer.
            answers.insert(isKept ? answers.begin() : answers.end(), {std::move(request), 0, {}});
        } else if (request->m_isWithdrawn) {
            answers.push_back({std::move(request), EINTR, {}});
        } else {
            due = now + m_limits.idleTime;
            m_writes.push_back({std::move(request), bytes.owner == nullptr ? copyOf(bytes) : std::move(bytes), *due});
        }
    }
    deliver(std::move(answers));
    return due;
}

std::unique_ptr<Request> Channel::withdraw(Request& request) {
    const auto isIt = [&request](const auto& waiting) { return waiting.request.get() == &request; };
    std::unique_ptr<Request> found;
    Answers answers;
    {
        const std::lock_guard lock(m_mutex);
        const auto read = std::find_if(m_reads.begin(), m_reads.end(), isIt);
        const auto write = std::find_if(m_writes.begin(), m_writes.end(), isIt);
        if (read != m_reads.end()) {
            found = std::move(read->request);
            m_reads.erase(read);
        } else if (write != m_writes.end()) {
            found = std::move(write->request);
            m_writes.erase(write);
            enterWaiting(answers);
        } else {
            request.m_isWithdrawn = true;
        }
    }
    deliver(std::move(answers));
    return found;
}

std::optional<Channel::TimePoint> Channel::expire(TimePoint now) {
    Answers answers;
    std::optional<TimePoint> next;
    {
        const std::lock_guard lock(m_mutex);
        for (; !m_reads.empty() && m_reads.front().deadline <= now; m_reads.pop_front())
            answers.push_back({std::move(m_reads.front().request), 0, {}});
        for (; !m_writes.empty() && m_writes.front().deadline <= now; m_writes.pop_front())
            answers.push_back({std::move(m_writes.front().request), ETIMEDOUT, {}});
        enterWaiting(answers);
        next = nextDeadline();
    }
    deliver(std::move(answers));
    return next;
}

void Channel::abort(int error) {
    Answers answers;
    {
        const std::lock_guard lock(m_mutex);
        answerWaitingReads(error, answers);
        for (WaitingWrite& write : m_writes) answers.push_back({std::move(write.request), error, {}});
        m_writes.clear();
    }
    deliver(std::move(answers));
}

bool Channel::isUnused() const {
    const std::lock_guard lock(m_mutex);
    return m_writers == 0 && m_readers == 0 && m_bytes.isEmpty();
}

bool Channel::fits(std::size_t size) const {
    return m_bytes.isEmpty() || (m_bytes.size() < m_limits.capacity && size <= m_limits.capacity - m_bytes.size());
}

// Readers that wait take the bytes from where they are; only what no reader takes is stored.
void Channel::enter(Slice bytes, Answers& answers) {
    for (; !m_reads.empty() && bytes.size > 0; m_reads.pop_front()) {
        WaitingRead& read = m_reads.front();
        const std::size_t count = std::min(read.size, bytes.size);
        answers.push_back({std::move(read.request), 0, {{bytes.owner, bytes.data, count}}});
        bytes.data += count;
        bytes.size -= count;
    }
    if (bytes.size < KeptSize)
        m_bytes.copy({bytes.data, bytes.size});
    else
        m_bytes.append(std::move(bytes));
}

void Channel::enterWaiting(Answers& answers) {
    for (; !m_writes.empty() && fits(m_writes.front().bytes.size); m_writes.pop_front()) {
        WaitingWrite& write = m_writes.front();
        enter(std::move(write.bytes), answers);
        answers.push_front({std::move(write.request), 0, {}});
    }
}

void Channel::answerWaitingReads(int error, Answers& answers) {
    for (WaitingRead& read : m_reads) answers.push_back({std::move(read.request), error, {}});
    m_reads.clear();
}

// A small write that waits does not hold on to the large memory that it came in.
Slice Channel::copyOf(const Slice& bytes) {
    auto copy = std::make_shared_for_overwrite<std::byte[]>(bytes.size);
    std::memcpy(copy.get(), bytes.data, bytes.size);
    const std::byte* const data = copy.get();
    return {std::move(copy), data, bytes.size};
}

void Channel::deliver(Answers answers) {
    for (Answer& answer : answers) answer.request->answer(answer.error, answer.bytes);
}

std::optional<Channel::TimePoint> Channel::nextDeadline() const {
    if (m_reads.empty() && m_writes.empty()) return std::nullopt;
    if (m_reads.empty()) return m_writes.front().deadline;
    return m_reads.front().deadline;  // reads and writes never wait at once
}

}  // namespace transport
