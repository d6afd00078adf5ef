#pragma once

// A small memo of a pure function's results, meant to live in a thread_local: the same
// arguments give the very same double, so a repeated request (the sun's position at a
// Julian date the day asks for twice, the sine of a latitude asked for every event) is
// answered with the bits computed the first time instead of being computed again.
//
// Keys are the bit patterns of the arguments, so 0.0 and -0.0 are different requests and a
// NaN argument matches only itself. Each key has one slot (direct-mapped): a second key on
// the same slot replaces the first, which only costs a computation later. The class is an
// aggregate without constructors, so a thread_local instance is zero-filled (every slot
// empty) without an initialisation guard on each access.
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace tarvo {

template <size_t KeyWords, class Value, size_t Slots>
class PureResultCache {
    static_assert(std::has_single_bit(Slots) && Slots > 1, "the slot count is a power of two");

public:
    using Key = std::array<uint64_t, KeyWords>;

    /// The key of a request: the bit patterns of its double arguments, in order.
    template <class... Doubles>
    static Key keyOf(Doubles... arguments) {
        static_assert(sizeof...(Doubles) == KeyWords, "one double per key word");
        return Key{std::bit_cast<uint64_t>(static_cast<double>(arguments))...};
    }

    /// The remembered result for `key`, or `compute()` (then remembered) when there is none.
    template <class Compute>
    Value get(const Key& key, Compute&& compute) {
        Slot& slot = slots_[slotOf(key)];
        if (!slot.filled || slot.key != key) {
            slot.value = compute();
            slot.key = key;
            slot.filled = true;
        }
        return slot.value;
    }

    struct Slot {
        Key key;
        bool filled;
        Value value;
    };
    /// Public only so that the class stays an aggregate (see above); use get().
    std::array<Slot, Slots> slots_;

private:
    static size_t slotOf(const Key& key) {
        // Multiplying by the golden-ratio constant carries every bit of the key into the top
        // bits, which pick the slot.
        uint64_t h = 0;
        for (const uint64_t word : key) h = (h ^ word) * 0x9E3779B97F4A7C15ull;
        return static_cast<size_t>(h >> (64 - std::countr_zero(Slots)));
    }
};

}  // namespace tarvo
