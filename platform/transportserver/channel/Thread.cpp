#include "Thread.h"

#include <csignal>
#include <utility>

namespace transport {
namespace {

void* runFunction(void* function) {
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
}

}  // namespace

int Thread::start(std::function<void()> run) {
    m_run = std::move(run);
    const int error = ::pthread_create(&m_thread, nullptr, &runFunction, &m_run);
    m_isStarted = error == 0;
    return error;
}

void Thread::join() {
    if (m_isStarted) (void)::pthread_join(m_thread, nullptr);
    m_isStarted = false;
}

void Thread::signal(int number) const {
    (void)::pthread_kill(m_thread, number);
}

}  // namespace transport
