#include "MCPStdio/json/JSONMemory.hpp"

#include <algorithm>
#include <new>

namespace MCPStdio {

JSONMemory* JSONMemory::make(std::size_t size) {
    const std::size_t whole = sizeof(JSONMemory) + aligned(size);
    auto* const memory = static_cast<char*>(::operator new(whole));
    auto* const made = new (memory) JSONMemory{memory + sizeof(JSONMemory), memory + whole};
    made->pieceSize_ = whole;
    return made;
}

void JSONMemory::release() noexcept {
    // Acquires what the holders of the other shares did before they gave them back.
    if (shares_.load(std::memory_order_acquire) != 1 &&
        shares_.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return;
    }
    for (Text* text = texts_; text != nullptr;) {
        Text* const previous = text->previous;
        text->~Text();
        text = previous;
    }
    for (Piece* piece = pieces_; piece != nullptr;) {
        Piece* const previous = piece->previous;
        ::operator delete(piece);
        piece = previous;
    }
    this->~JSONMemory();
    ::operator delete(this);
}

/// Adds a piece with room for `needed` bytes, at least twice as large as the one before.
void JSONMemory::addPiece(std::size_t needed) {
    const std::size_t size = std::max(2 * pieceSize_, sizeof(Piece) + needed);
    auto* const memory = static_cast<char*>(::operator new(size));
    pieces_ = new (memory) Piece{pieces_};
    next_ = memory + sizeof(Piece);
    end_ = memory + size;
    pieceSize_ = size;
}

std::string& JSONMemory::addText() {
    texts_ = new (allocate(sizeof(Text))) Text{{}, texts_};
    return texts_->text;
}

} // namespace MCPStdio
