#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

/// The one way in which deliveries of data changes to the application end: whoever ends one closes the gate,
/// and has it closed when the change that is being delivered is over. From inside the application's callback
/// that can't be waited for: there the gate is closed at once, and the delivery ends when the callback
/// returns.
class DeliveryGate {
public:
    /// One delivery, on the thread that makes it.
    class Passage {
    public:
        explicit Passage(DeliveryGate& gate) : m_gate(gate), m_granted(gate.enter()) {}
        ~Passage() {
            if (m_granted)
                m_gate.leave();
        }
        Passage(const Passage&) = delete;
        Passage& operator=(const Passage&) = delete;

        /// Whether the next change may be delivered.
        bool isOpen() const { return m_granted && m_gate.m_closures == 0; }

    private:
        DeliveryGate& m_gate;
        const bool m_granted;
    };

    /// While one exists nothing is delivered.
    class Closure {
    public:
        explicit Closure(DeliveryGate& gate) : m_gate(gate) { m_gate.close(); }
        ~Closure() { m_gate.open(); }
        Closure(const Closure&) = delete;
        Closure& operator=(const Closure&) = delete;

    private:
        DeliveryGate& m_gate;
    };

    /// For good, unless open() follows.
    void close();
    /// Takes one close() back.
    void open();
    /// Whether the caller is the application's callback.
    bool isInside() const;

private:
    bool enter();
    void leave();

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::thread::id m_deliverer; ///< guarded by m_mutex; nobody's when nothing is being delivered
    std::atomic<int> m_closures{0};
};
