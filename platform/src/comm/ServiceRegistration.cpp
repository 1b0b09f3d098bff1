#include "comm/ServiceRegistration.h"

namespace comm {

bool ServiceRegistration::isAlive() const {
    return svcTracked() != nullptr && svcTracked()->isAlive();
}
bool ServiceRegistration::isDead() const {
    return svcTracked()->isDead();
}
bool ServiceRegistration::waitUntilDead() {
    return svcTracked()->waitUntilDead();
}
bool ServiceRegistration::waitUntilAlive() {
    return svcTracked()->waitUntilAlive();
}
bool ServiceRegistration::registerService() {
    return svcTracked()->registerService();
}
bool ServiceRegistration::unregisterService() {
    return svcTracked()->unregisterService();
}

}  // namespace comm
