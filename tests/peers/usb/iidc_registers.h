#pragma once
#include "peers/wired_camera.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vireo::peers {

/// The register space of an IIDC camera made of software: the identification in its ROM, the control
/// registers and those of two image modes. Not locked.
class IidcRegisters final : public WiredCamera {
public:
    IidcRegisters(const std::string& strModel, std::uint32_t uiSerial);

    /// `uiAddress` without the part that every node has in common. False where nothing is.
    bool Read(std::uint32_t uiAddress, std::uint32_t& uiValue) const;
    bool Write(std::uint32_t uiAddress, std::uint32_t uiValue);

    std::uint32_t Width() const;
    std::uint32_t Height() const;
    bool IsColour() const { return m_bColour; }
    bool IsRaw() const;
    bool EmbedsTime() const { return (Control(0x12F8) & 0x001U) != 0; }
    bool EmbedsPins() const { return (Control(0x12F8) & 0x100U) != 0; }
    std::uint32_t Pins() const { return Control(0x11F4); }

    bool Acquiring() const override { return (Control(0x614) & 0x80000000U) != 0; }
    std::uint64_t Runs() const override { return m_uiRuns; }
    bool TakeSoftwareTrigger() override { return std::exchange(m_bSoftwareTrigger, false); }
    std::int64_t MinPeriodNs() const override;
    std::int64_t PeriodNs() const override;
    std::int64_t ExposureNs() const override;
    bool TriggerOn() const override { return (Control(0x830) & 0x02000000U) != 0; }
    int TriggerLine() const override;
    bool TriggerOnRisingEdge() const override { return (Control(0x830) & 0x01000000U) != 0; }
    bool LineIsOutput(std::size_t uiLine) const override { return (Control(0x11F8) & 0x80000000U >> uiLine) != 0; }
    bool StrobeOn(std::size_t uiLine) const override;
    bool LineInverted(std::size_t uiLine) const override;

private:
    void InitRom(const std::string& strModel, std::uint32_t uiSerial);
    void InitFeatures();
    void InitModes();
    std::uint32_t Control(std::uint32_t uiOffset) const;
    std::uint32_t StrobeControl(std::size_t uiLine) const
    {
        return Control(static_cast<std::uint32_t>(0x1500 + 4 * uiLine));
    }
    float Float(std::uint32_t uiOffset) const;
    void SetFloat(std::uint32_t uiOffset, float fValue);
    bool IsFormat7() const { return Control(0x608) >> 29 == 7; }
    std::uint32_t Mode(std::uint32_t uiOffset) const; ///< of the image mode that is set
    void UpdateMode(std::uint32_t uiMode);
    void UpdateLimits();

    bool m_bColour;
    std::vector<std::uint32_t> m_rom;
    std::map<std::uint32_t, std::uint32_t> m_control; ///< by offset; absent ones read 0
    std::map<std::uint32_t, std::uint32_t> m_modes[2];
    std::uint64_t m_uiRuns = 0;
    bool m_bSoftwareTrigger = false;
};

} // namespace vireo::peers
