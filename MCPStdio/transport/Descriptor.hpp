#pragma once

#include <unistd.h>

#include <utility>

namespace MCPStdio {

/// Owns one open file descriptor, or none. Move-only; closes what it owns when destroyed.
class Descriptor {
public:
    Descriptor() noexcept = default;

    /// Takes ownership of `number`; a negative one stands for none, as calls return it on failure.
    explicit Descriptor(int number) noexcept : number_{number} {}
    Descriptor(Descriptor&& other) noexcept : number_{other.release()} {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            close();
            number_ = other.release();
        }
        return *this;
    }
    ~Descriptor() { close(); }

    /// Returns the number, still owned; negative if there is none.
    [[nodiscard]] int get() const noexcept { return number_; }

    explicit operator bool() const noexcept { return number_ >= 0; }

    /// Closes it, if there is one. Leaves errno as it was.
    void close() noexcept;

    /// Gives up ownership and returns the number.
    [[nodiscard]] int release() noexcept { return std::exchange(number_, -1); }

private:
    int number_ = -1;
};

} // namespace MCPStdio
