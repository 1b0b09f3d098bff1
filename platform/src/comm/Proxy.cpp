#include "comm/Proxy.h"

#include "ProxyTracked.h"

namespace comm {

Proxy::Proxy(const TrackedBase::IdentityArgs& identity, InterfaceStyle /*style*/, LifecycleListener* listener)
    : m_tracked(new ProxyTracked(identity, listener)) {}

Proxy::~Proxy() {
    Proxy::cleanup();
}

bool Proxy::isAlive() const {
    return tracked()->isAlive();
}
bool Proxy::isDead() const {
    return tracked()->isDead();
}
bool Proxy::waitUntilDead() {
    return tracked()->waitUntilDead();
}
bool Proxy::waitUntilAlive() {
    return tracked()->waitUntilAlive();
}

void Proxy::cleanup() {
    tracked()->disconnect();
}

bool Proxy::connect() {
    return tracked()->connect();
}
void Proxy::disconnect() {
    tracked()->disconnect();
}

InterfaceObject& Proxy::interfaceObject() const {
    return tracked()->interfaceObject();
}

ProxyTracked* Proxy::tracked() const {
    return static_cast<ProxyTracked*>(m_tracked.record());
}

}  // namespace comm
