#pragma once

#include <dds/dds.h>

#include <utility>

namespace comm::transport {

/// An entity of the engine, deleted with this object: after that none of its callbacks runs.
class Entity {
  public:
    Entity() = default;
    /// Takes what a creating function of the engine gives: a handle, or a negative error, which makes it empty.
    explicit Entity(dds_entity_t handle) : m_handle(handle) {}
    Entity(Entity&& other) noexcept : m_handle(std::exchange(other.m_handle, 0)) {}
    Entity& operator=(Entity&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;
    ~Entity() { reset(); }

    void reset() {
        if (m_handle > 0) (void)::dds_delete(m_handle);
        m_handle = 0;
    }
    explicit operator bool() const { return m_handle > 0; }
    dds_entity_t handle() const { return m_handle; }

  private:
    dds_entity_t m_handle = 0;
};

}  // namespace comm::transport
