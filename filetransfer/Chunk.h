#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

/// The memory of one chunk, the unit that a transfer moves.
///
/// It begins at a page, so that the kernel can take a chunk of whole pages in one piece.
class Chunk {
  public:
    explicit Chunk(std::size_t size) : m_size(size), m_bytes(new (Page) std::uint8_t[size]) {}

    std::uint8_t* data() const { return m_bytes.get(); }
    std::size_t size() const { return m_size; }

  private:
    static constexpr std::align_val_t Page{4096};

    struct Delete {
        void operator()(std::uint8_t* bytes) const { ::operator delete[](bytes, Page); }
    };

    std::size_t m_size;
    std::unique_ptr<std::uint8_t[], Delete> m_bytes;
};
