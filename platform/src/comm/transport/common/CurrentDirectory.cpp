#include "CurrentDirectory.h"

namespace comm::transport {

bool CurrentDirectory::open() {
    auto directory = std::make_shared<RuntimeDirectory>();
    if (directory->open()) return true;
    const std::scoped_lock lock(m_mutex);
    m_directory = std::move(directory);
    return false;
}

std::shared_ptr<const RuntimeDirectory> CurrentDirectory::get() const {
    const std::scoped_lock lock(m_mutex);
    return m_directory;
}

CurrentDirectory::Result CurrentDirectory::refresh() {
    const std::shared_ptr<const RuntimeDirectory> before = get();
    if (!before->placeSentinel() && before->isInPlace()) return Result::Same;
    return open() ? Result::Failed : Result::Changed;
}

}  // namespace comm::transport
