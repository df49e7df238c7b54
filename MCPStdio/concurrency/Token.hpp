#pragma once

#include <utility>

namespace MCPStdio {

/// Move-only token for something taken from an `Owner`, such as a turn or a permit. Destroying it
/// calls `Owner::release()`, unless it was released or moved from before. The owner must outlive
/// it.
template <typename Owner>
class [[nodiscard]] Token {
public:
    explicit Token(Owner& owner) noexcept : owner_{&owner} {}
    Token(Token&& other) noexcept : owner_{std::exchange(other.owner_, nullptr)} {}
    Token& operator=(Token&& other) noexcept {
        if (this != &other) {
            release();
            owner_ = std::exchange(other.owner_, nullptr);
        }
        return *this;
    }
    ~Token() { release(); }

    /// Releases early. Does nothing the second time.
    void release() noexcept {
        if (owner_ != nullptr) {
            std::exchange(owner_, nullptr)->release();
        }
    }

private:
    Owner* owner_;
};

} // namespace MCPStdio
