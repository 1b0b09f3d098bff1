#pragma once

#include <memory>

#include "FileDescriptor.h"
#include "Identity.h"
#include "RuntimeDirectory.h"

namespace comm::transport {

/// Makes an identity the only one of its kind in a runtime directory. The system drops the lock with its process,
/// however that ends; what then remains is a file that locks nothing. Not safe for several threads at once.
class InstanceLock {
  public:
    /// Takes the lock for a scope, within which there may be one of the identity. True on failure, with the reason in
    /// the error storage, which names the process that holds it.
    [[nodiscard]] bool take(std::shared_ptr<const RuntimeDirectory> directory, const Identity& identity,
                            const ipl::string& scope);

    /// Whether the lock's file still has its name. One that has lost it excludes nobody.
    bool isCurrent() const;
    /// The same, in that directory: one that was moved away may still hold the file.
    bool isCurrentIn(const RuntimeDirectory& directory) const;

    /// Drops the lock, and removes its file if that is its own.
    void release();

  private:
    bool openCurrent(const Identity& identity, bool& locked);
    ipl::string holder() const;

    std::shared_ptr<const RuntimeDirectory> m_directory;
    ipl::string m_fileName;
    FileDescriptor m_file;
};

}  // namespace comm::transport
