#pragma once

#include <unistd.h>

#include <utility>

namespace velmiro::host {

/// Owns one file descriptor, or none.
class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int value) noexcept : value_{value} {}
    Descriptor(Descriptor&& other) noexcept : value_{std::exchange(other.value_, -1)} {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor() { close(); }

    [[nodiscard]] int get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ >= 0; }

    void close() noexcept {
        if (value_ >= 0) {
            ::close(std::exchange(value_, -1));
        }
    }

private:
    int value_ = -1;
};

} // namespace velmiro::host
