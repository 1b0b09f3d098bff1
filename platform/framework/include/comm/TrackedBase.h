#pragma once

#include <atomic>
#include <cstdint>

#include "ipl/UUID.h"
#include "ipl/string.h"

namespace comm {

/// What tells the instances of an interface apart.
struct InstanceKey {
    ipl::UUID uuid;
    std::uint32_t instance;

    friend auto operator<=>(const InstanceKey&, const InstanceKey&) = default;
};

/// A record that the framework and its users share, counted by `TrackedReferenceBase`: what a registration or a proxy
/// stands for.
class TrackedBase {
  public:
    /// The identity under which registrations and proxies meet. The record makes its own copies.
    struct IdentityArgs {
        const InstanceKey& instanceKey;
        const ipl::UUID& interfaceUuid;
        const char* interfaceName;

        /// For people: the interface's name and the instance, such as "some.Interface/7".
        ipl::string toString() const { return ipl::string(interfaceName) + '/' + std::to_string(instanceKey.instance); }
    };

    TrackedBase(const TrackedBase&) = delete;
    TrackedBase& operator=(const TrackedBase&) = delete;
    virtual ~TrackedBase() = default;

    const InstanceKey& instanceKey() const { return m_instanceKey; }
    IdentityArgs identity() const { return {m_instanceKey, m_interfaceUuid, m_interfaceName.c_str()}; }

  protected:
    explicit TrackedBase(const IdentityArgs& identity)
        : m_instanceKey(identity.instanceKey),
          m_interfaceUuid(identity.interfaceUuid),
          m_interfaceName(identity.interfaceName) {}

  private:
    friend class TrackedReferenceBase;

    const InstanceKey m_instanceKey;
    const ipl::UUID m_interfaceUuid;
    const ipl::string m_interfaceName;
    // The record itself is worth 1, each reference 1 more. A new record without a reference lives until its first
    // reference has come and gone.
    std::atomic<std::uint32_t> m_references{1};
};

}  // namespace comm
