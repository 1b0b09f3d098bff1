#pragma once

/// Whether the test is built with a sanitizer that needs memory and threads of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool Sanitized = true;
#elif defined(__has_feature)
constexpr bool Sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool Sanitized = false;
#endif
