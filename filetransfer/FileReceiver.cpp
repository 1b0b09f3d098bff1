#include "FileReceiver.h"

#include <cstdio>
#include <utility>

namespace {

constexpr std::uint32_t ReportTime = 5000;  // ms

// In this order the divisions show the figures that readers of the report are used to.
unsigned long long megabitsPerSecond(unsigned long long bytes, std::uint32_t milliseconds) {
    return bytes / milliseconds * 8 / 1000;
}

void printRate(const char* format, unsigned long long bytes, std::uint32_t milliseconds) {
    std::printf(format, bytes, milliseconds, megabitsPerSecond(bytes, milliseconds));
}

}  // namespace

FileReceiver::FileReceiver(Parameters parameters, std::atomic<bool>& running, Print print, osal::StopWatchBase& watch)
    : Transfer(std::move(parameters), running, std::move(print)), m_watch(watch) {}

void FileReceiver::run() {
    report();
    const Chunk chunk(m_parameters.payload);
    m_running = true;
    m_watch.reset();
    while (m_running) {
        ChunkFile file = ChunkFile::forReading(m_parameters.path);
        if (file.isOpen())
            receive(file, chunk);
        else
            waitForFile();
    }
    m_messages.conclude();
    reportEnd();
}

void FileReceiver::report() const {
    m_print("receiveFile:   " + m_parameters.path + "  payload:     " + std::to_string(m_parameters.payload) +
            countText());
}

void FileReceiver::receive(ChunkFile& file, const Chunk& chunk) {
    while (m_running) {
        const bool failed = file.read(chunk);
        // The wait for the first chunk is not part of the transfer, so the watch starts behind it.
        m_watch.start();
        if (failed) {
            reportInterruption("read", file.error());
            break;
        }
        ++m_moved;
        reportProgress();
        if (isComplete()) finish();
    }
    m_watch.stop();
}

void FileReceiver::reportProgress() {
    const std::uint32_t elapsed = m_watch.getElapsedTime(osal::StopWatchBase::Milliseconds);
    if (elapsed - m_reportedAt <= ReportTime) return;
    std::printf(" running - currently read item counter: %llu\n", static_cast<unsigned long long>(m_moved));
    printRate(" transferred %llu bytes in %u msec => %llu MBit/sec\n", m_moved * m_parameters.payload, elapsed);
    m_reportedAt = elapsed;
}

void FileReceiver::reportEnd() {
    const std::uint32_t elapsed = m_watch.getElapsedTime(osal::StopWatchBase::Milliseconds);
    if (elapsed == 0) return;
    printRate("transferred %llu bytes in %u msec => %llu MBit/sec", m_moved * m_parameters.payload, elapsed);
    // The line has no end that would send it off.
    (void)std::fflush(stdout);
}
