#include "DirectoryWatch.h"

#include <sys/inotify.h>

#include "../common/SystemError.h"

namespace comm::transport {

bool DirectoryWatch::open() {
    m_inotify = FileDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    return !m_inotify && failed("inotify_init1 (see fs.inotify.max_user_instances)", __FILE__, __LINE__);
}

bool DirectoryWatch::follow(const RuntimeDirectory& directory) {
    if (m_watch >= 0) (void)::inotify_rm_watch(m_inotify.get(), m_watch);  // it goes by itself with its directory
    constexpr std::uint32_t Wanted = IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_MOVE_SELF;
    m_watch = ::inotify_add_watch(m_inotify.get(), directory.openPathOf(".").c_str(), Wanted);
    return m_watch < 0 && failed("inotify_add_watch " + directory.path(), __FILE__, __LINE__);
}

DirectoryWatch::Changes DirectoryWatch::read() {
    Changes changes;
    alignas(inotify_event) char buffer[4096];
    const ssize_t count = ::read(m_inotify.get(), buffer, sizeof buffer);
    for (ssize_t at = 0; at < count;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        at += static_cast<ssize_t>(sizeof *event + event->len);
        if ((event->mask & IN_Q_OVERFLOW) != 0) changes.overflow = true;
        if (event->wd != m_watch) continue;
        if ((event->mask & (IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED)) != 0) changes.directoryGone = true;
        if (event->len == 0) continue;
        if ((event->mask & IN_MOVED_TO) != 0)
            changes.appeared.emplace_back(event->name);
        else
            changes.removed.emplace_back(event->name);
    }
    return changes;
}

}  // namespace comm::transport
