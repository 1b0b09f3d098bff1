#pragma once

#include "FileDescriptor.h"
#include "Identity.h"
#include "RuntimeDirectory.h"

namespace comm::transport {

/// Makes an identity the only one of its kind on this machine. The system drops the lock with its process, however that
/// ends; what then remains is a file that locks nothing.
class InstanceLock {
  public:
    /// Takes the lock for a scope, within which there may be one of the identity. True on failure, with the reason in
    /// the error storage, which names the process that holds it.
    bool take(const RuntimeDirectory& directory, const Identity& identity, const ipl::string& scope);

    /// Drops the lock and removes its file.
    void release();

  private:
    bool openCurrent(const Identity& identity, bool& locked);
    bool isCurrent() const;
    ipl::string holder() const;

    const RuntimeDirectory* m_directory = nullptr;
    ipl::string m_fileName;
    FileDescriptor m_file;
};

}  // namespace comm::transport
