#pragma once
#include <cstddef>
#include <cstdint>

namespace vireo::peers {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;

/// What the wires between software cameras ask of one, whatever its registers look like.
class WiredCamera {
public:
    virtual ~WiredCamera() = default;
    virtual bool Acquiring() const = 0;
    /// Grows by one with each start, so that a schedule can tell a new run.
    virtual std::uint64_t Runs() const = 0;
    /// True once after each software trigger.
    virtual bool TakeSoftwareTrigger() = 0;

    /// The shortest time between two exposures, ns.
    virtual std::int64_t MinPeriodNs() const = 0;
    /// The time between two exposures when it runs free, ns.
    virtual std::int64_t PeriodNs() const = 0;
    virtual std::int64_t ExposureNs() const = 0;

    virtual bool TriggerOn() const = 0;
    /// Line of the trigger input; -1 for the software trigger.
    virtual int TriggerLine() const = 0;
    virtual bool TriggerOnRisingEdge() const = 0;
    virtual bool LineIsOutput(std::size_t uiLine) const = 0;
    /// The line shows the exposure.
    virtual bool StrobeOn(std::size_t uiLine) const = 0;
    virtual bool LineInverted(std::size_t uiLine) const = 0;
};

} // namespace vireo::peers
