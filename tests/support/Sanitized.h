#pragma once

// What a program is built with. The sanitizers need memory and threads of their own, and that for addresses
// descriptors.

#if defined(__SANITIZE_ADDRESS__)
constexpr bool AddressSanitized = true;
constexpr bool ThreadSanitized = false;
#elif defined(__SANITIZE_THREAD__)
constexpr bool AddressSanitized = false;
constexpr bool ThreadSanitized = true;
#elif defined(__has_feature)
constexpr bool AddressSanitized = __has_feature(address_sanitizer) != 0;
constexpr bool ThreadSanitized = __has_feature(thread_sanitizer) != 0;
#else
constexpr bool AddressSanitized = false;
constexpr bool ThreadSanitized = false;
#endif

constexpr bool Sanitized = AddressSanitized || ThreadSanitized;
