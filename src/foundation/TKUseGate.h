// TKUseGate: counts the calls that use an object and lets a rebuild run only while no call uses
// it. Neither side waits: users never block each other, and a rebuild that finds a user, or a
// user that finds a rebuild, is refused at once. One atomic operation per call, none per item.
#pragma once

#include <atomic>
#include <cstdint>

class TKUseGate {
public:
    TKUseGate() = default;
    // A copy belongs to a new object, which nobody uses yet.
    TKUseGate(const TKUseGate&) noexcept {}
    TKUseGate& operator=(const TKUseGate&) noexcept { return *this; }

    // True when the object may be used; every true answer is paired with LeaveUse.
    bool EnterUse() noexcept {
        if (fState.fetch_add(1, std::memory_order_acquire) >= 0) return true;
        fState.fetch_sub(1, std::memory_order_relaxed);
        return false;
    }
    void LeaveUse() noexcept { fState.fetch_sub(1, std::memory_order_release); }
    // True when no call uses the object and no other rebuild runs; paired with LeaveRebuild.
    bool EnterRebuild() noexcept {
        int32_t idle = 0;
        return fState.compare_exchange_strong(idle, kRebuilding, std::memory_order_acq_rel);
    }
    void LeaveRebuild() noexcept { fState.fetch_sub(kRebuilding, std::memory_order_release); }

    // The scope of an Enter call that succeeded; test it before going on.
    template <bool (TKUseGate::*Enter)() noexcept, void (TKUseGate::*Leave)() noexcept>
    class Scope {
    public:
        explicit Scope(TKUseGate& gate) : fGate(gate), fEntered((gate.*Enter)()) {}
        ~Scope() {
            if (fEntered) (fGate.*Leave)();
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        explicit operator bool() const { return fEntered; }

    private:
        TKUseGate& fGate;
        bool fEntered;
    };
    using Use = Scope<&TKUseGate::EnterUse, &TKUseGate::LeaveUse>;
    using Rebuild = Scope<&TKUseGate::EnterRebuild, &TKUseGate::LeaveRebuild>;

private:
    // Far below any count of users, so that users arriving during a rebuild stay negative.
    static constexpr int32_t kRebuilding = INT32_MIN / 2;
    // Number of users, or kRebuilding plus the users that are just backing out.
    std::atomic<int32_t> fState{0};
};
