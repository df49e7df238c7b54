#pragma once

#include <atomic>
#include <cstddef>
#include <string>

namespace MCPStdio {

/// The memory of one tree that was read: its arrays, objects and texts are cut from a few pieces,
/// and freeing the last share of it frees them all, however many values there are.
///
/// Filled by one thread before it is shared. Then only its shares change, on any thread.
class JSONMemory {
public:
    /// Returns new memory with one share, and room for about `size` bytes. Throws std::bad_alloc.
    static JSONMemory* make(std::size_t size);
    JSONMemory(const JSONMemory&) = delete;
    JSONMemory& operator=(const JSONMemory&) = delete;

    void share() noexcept { shares_.fetch_add(1, std::memory_order_relaxed); }
    /// Gives back a share; the last one frees the memory.
    void release() noexcept;

    /// Returns the size of the largest piece, which is at least half of all.
    [[nodiscard]] std::size_t size() const noexcept { return pieceSize_; }

    /// Returns room for `size` bytes, aligned for every value. Throws std::bad_alloc.
    [[nodiscard]] char* allocate(std::size_t size) {
        size = aligned(size);
        if (static_cast<std::size_t>(end_ - next_) < size) {
            addPiece(size);
        }
        char* const room = next_;
        next_ += size;
        return room;
    }
    /// Gives back all but the first `used` bytes of the room that was returned last.
    void shrink(char* room, std::size_t used) noexcept { next_ = room + aligned(used); }
    /// Returns an empty text on the heap, which can be moved out. Throws std::bad_alloc.
    [[nodiscard]] std::string& addText();

private:
    struct Piece {
        Piece* previous;
    };
    struct Text {
        std::string text;
        Text* previous;
    };

    JSONMemory(char* begin, char* end) noexcept : next_{begin}, end_{end} {}
    ~JSONMemory() = default;

    static constexpr std::size_t aligned(std::size_t size) noexcept {
        return (size + alignof(void*) - 1) & ~(alignof(void*) - 1);
    }
    void addPiece(std::size_t needed);

    std::atomic<std::size_t> shares_{1};
    char* next_;             ///< free up to `end_`
    char* end_;              ///< the end of the newest piece
    Piece* pieces_{nullptr}; ///< all but the first, which holds this object; the newest first
    Text* texts_{nullptr};
    std::size_t pieceSize_{0}; ///< of the newest piece
};

} // namespace MCPStdio
