#include "FileSender.h"

#include <numeric>

#include "osal/common/Time.h"

void FileSender::run() {
    report();
    const Chunk chunk(m_parameters.payload);
    std::iota(chunk.data(), chunk.data() + chunk.size(), std::uint8_t{0});
    m_running = true;
    do {
        ChunkFile file = ChunkFile::forWriting(m_parameters.path);
        if (file.isOpen())
            send(file, chunk);
        else
            waitForFile();
    } while (m_running);
    m_messages.conclude();
    m_print("finished");
}

void FileSender::report() const {
    m_print("sendFile:      " + m_parameters.path + "  payload:     " + std::to_string(m_parameters.payload) +
            "  delay:       " + std::to_string(m_parameters.delay) + countText());
}

void FileSender::send(ChunkFile& file, const Chunk& chunk) {
    m_messages.begin();
    m_messages.say("success - start sending...");
    while (m_running) {
        if (file.write(chunk)) return reportInterruption("write", file.error());
        ++m_moved;
        if (isComplete())
            finish();
        else if (m_parameters.count != 0)
            osal::Time::sleep(m_parameters.delay);
    }
}
