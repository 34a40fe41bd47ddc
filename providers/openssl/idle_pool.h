// Prepared objects that no thread is using at the moment, to spare their making. Taking and giving never waits.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

namespace quorvanti::provider {

// Releases nothing by itself: whoever owns it calls clear(). So it may be process-wide, where nothing is destroyed.
template <class Pointer, std::size_t kept>
class IdlePool {
    using Object = typename Pointer::element_type;

public:
    // Null when none is idle.
    Pointer take() {
        for (std::atomic<Object*>& place : places_) {
            if (place.load(std::memory_order_relaxed) == nullptr)
                continue;
            if (Object* object = place.exchange(nullptr); object != nullptr)
                return Pointer(object);
        }
        return nullptr;
    }

    // What finds no place is released.
    void give(Pointer object) {
        for (std::atomic<Object*>& place : places_) {
            Object* empty = nullptr;
            if (place.load(std::memory_order_relaxed) == nullptr &&
                place.compare_exchange_strong(empty, object.get())) {
                object.release();
                return;
            }
        }
    }

    void clear() {
        for (std::atomic<Object*>& place : places_)
            Pointer(place.exchange(nullptr)).reset();
    }

private:
    std::array<std::atomic<Object*>, kept> places_{};
};

}  // namespace quorvanti::provider
