#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace util {

/// What shared pointers of all element types have in common: the object, how to delete it, and who shares it.
///
/// Different pointers to one object may be copied and destroyed on different threads at once; a single pointer object
/// belongs to one thread at a time.
class SharedPtrDefaultBase {
  public:
    /// How many pointers share an object.
    struct Context {
        std::atomic<std::uint32_t> users{1};
    };
    /// Deletes an object and its `Context`.
    using Deleter = void (*)(void* object, void* context);

    explicit operator bool() const { return m_object != nullptr; }

    /// Whether this pointer is the object's only one, so that what other threads did with theirs is over.
    bool unique() const { return m_context != nullptr && m_context->users.load(std::memory_order_acquire) == 1; }

  protected:
    SharedPtrDefaultBase(void* object, Deleter deleter)
        : m_object(object), m_deleter(deleter), m_context(object == nullptr ? nullptr : new Context) {}
    SharedPtrDefaultBase(const SharedPtrDefaultBase& other)
        : m_object(other.m_object), m_deleter(other.m_deleter), m_context(other.m_context) {
        if (m_context != nullptr) m_context->users.fetch_add(1, std::memory_order_relaxed);
    }
    SharedPtrDefaultBase(SharedPtrDefaultBase&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr)),
          m_deleter(other.m_deleter),
          m_context(std::exchange(other.m_context, nullptr)) {}
    SharedPtrDefaultBase& operator=(const SharedPtrDefaultBase& other) {
        SharedPtrDefaultBase(other).swap(*this);
        return *this;
    }
    SharedPtrDefaultBase& operator=(SharedPtrDefaultBase&& other) noexcept {
        SharedPtrDefaultBase(std::move(other)).swap(*this);
        return *this;
    }
    ~SharedPtrDefaultBase() {
        if (m_context != nullptr && m_context->users.fetch_sub(1, std::memory_order_acq_rel) == 1)
            m_deleter(m_object, m_context);
    }

    void* object() const { return m_object; }

  private:
    void swap(SharedPtrDefaultBase& other) noexcept {
        std::swap(m_object, other.m_object);
        std::swap(m_deleter, other.m_deleter);
        std::swap(m_context, other.m_context);
    }

    void* m_object;
    Deleter m_deleter;
    Context* m_context;
};

/// How a `SharedPtr<T>` deletes its object; specialised for types that hold more than themselves.
template <class T>
struct SharedPtrDeleter {
    static void release(void* object, void* context) {
        delete static_cast<T*>(object);
        delete static_cast<SharedPtrDefaultBase::Context*>(context);
    }
};

/// A pointer that shares its object with its copies; the last one deletes it. An empty one holds no object.
template <class T>
class SharedPtr : public SharedPtrDefaultBase {
  public:
    SharedPtr() : SharedPtr(nullptr) {}
    /// Takes ownership of an object made with `new`, or of nothing.
    explicit SharedPtr(T* object) : SharedPtrDefaultBase(object, &SharedPtrDeleter<T>::release) {}

    T* get() const { return static_cast<T*>(object()); }
    T* operator->() const { return get(); }
    T& operator*() const { return *get(); }
};

}  // namespace util
