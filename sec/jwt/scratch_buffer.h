// Memory for the length of a scope: on the stack when little is needed.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace quorvanti {

template <typename Element, std::size_t OnStack>
class ScratchBuffer {
public:
    explicit ScratchBuffer(std::size_t size)
        : large_(size > OnStack ? std::make_unique_for_overwrite<Element[]>(size) : nullptr), size_(size) {}

    std::span<Element> span() { return {large_ != nullptr ? large_.get() : small_, size_}; }

private:
    Element small_[OnStack];  // left as it is: whoever takes it writes before reading
    std::unique_ptr<Element[]> large_;
    std::size_t size_;
};

}  // namespace quorvanti
