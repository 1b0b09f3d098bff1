#include "osal/common/Thread.h"

#include "ipl/GlobalErrorHandler.h"
#include "osal/common/Error.h"

namespace osal {

Thread::Thread(const ipl::string& name, bool realtime, int priority)
    : m_name(name.substr(0, 15)), m_realtime(realtime), m_priority(priority) {}

Thread::~Thread() {
    if (m_joinable) ipl::GlobalErrorHandler::doAssert("!m_joinable", "~Thread", "framework/include/osal/common/Thread");
}

bool Thread::start() {
    const int error = create();
    m_joinable = error == 0;
    if (error != 0) recordSystemError("starting the thread " + m_name, error, __FILE__, __LINE__);
    return error != 0;
}

bool Thread::join() {
    if (!m_joinable) return false;
    const int error = pthread_join(m_thread, nullptr);
    m_joinable = error != 0;
    if (error != 0) recordSystemError("joining the thread " + m_name, error, __FILE__, __LINE__);
    return error != 0;
}

void Thread::detach() {
    if (m_joinable) (void)pthread_detach(m_thread);
    m_joinable = false;
}

int Thread::create() {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) return error;
    if (m_realtime) {
        sched_param parameters{};
        parameters.sched_priority = m_priority;
        pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
        pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
        error = pthread_attr_setschedparam(&attributes, &parameters);
    }
    if (error == 0) error = pthread_create(&m_thread, &attributes, &Thread::run, this);
    pthread_attr_destroy(&attributes);
    return error;
}

void* Thread::run(void* self) {
    auto* thread = static_cast<Thread*>(self);
    pthread_setname_np(pthread_self(), thread->m_name.c_str());
    thread->entry();
    return nullptr;
}

}  // namespace osal
