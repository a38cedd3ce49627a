#include "peers/genicam_xml.h"

#include <initializer_list>
#include <utility>

namespace vireo::peers {

namespace {

using Entries = std::initializer_list<std::pair<const char*, int>>;

std::string Element(const char* strName, const std::string& strText)
{
    return std::string("<") + strName + ">" + strText + "</" + strName + ">";
}

class Writer {
public:
    explicit Writer(std::uint32_t uiBase)
        : m_uiBase(uiBase)
    {
    }

    /// A register of one word; with a selector it is the first of a row of words.
    void Register(const std::string& strName, std::uint32_t uiOffset, bool bFloat, const char* strSelector = nullptr,
        const char* strAccess = "RW", int iPitch = 4)
    {
        const char* strKind = bFloat ? "FloatReg" : "IntReg";
        m_strText += std::string("<") + strKind + " Name=\"" + strName + "\">";
        m_strText += Element("Address", std::to_string(m_uiBase + uiOffset));
        if (strSelector)
            m_strText += "<pIndex Offset=\"" + std::to_string(iPitch) + "\">" + strSelector + "</pIndex>";
        m_strText += Element("Length", "4") + Element("AccessMode", strAccess) + Element("pPort", "Device");
        m_strText += Element("Cachable", "NoCache");
        if (!bFloat)
            m_strText += Element("Sign", "Unsigned");
        m_strText += Element("Endianess", "BigEndian") + "</" + strKind + ">\n";
    }
    void Integer(const std::string& strName, std::uint32_t uiOffset, const std::string& strLimits = "",
        const std::string& strSaid = "", const char* strSelector = nullptr)
    {
        Register(strName + "Reg", uiOffset, false, strSelector);
        Node("Integer", strName, strSaid + Element("pValue", strName + "Reg") + strLimits);
    }
    void ReadOnly(const std::string& strName, std::uint32_t uiOffset, const char* strSelector = nullptr)
    {
        Register(strName + "Reg", uiOffset, false, strSelector, "RO");
        Node("Integer", strName, Element("pValue", strName + "Reg"));
    }
    void Float(const std::string& strName, std::uint32_t uiOffset, const std::string& strLimits,
        const char* strSelector = nullptr)
    {
        Register(strName + "Reg", uiOffset, true, strSelector);
        Node("Float", strName, Element("pValue", strName + "Reg") + strLimits);
    }
    void Boolean(const std::string& strName, std::uint32_t uiOffset, const char* strSelector = nullptr)
    {
        Register(strName + "Reg", uiOffset, false, strSelector);
        Node("Boolean", strName, Element("pValue", strName + "Reg") + "<OnValue>1</OnValue><OffValue>0</OffValue>");
    }
    void Command(const std::string& strName, std::uint32_t uiOffset)
    {
        Register(strName + "Reg", uiOffset, false, nullptr, "WO");
        Node("Command", strName, Element("pValue", strName + "Reg") + "<CommandValue>1</CommandValue>");
    }
    void Enumeration(const std::string& strName, std::uint32_t uiOffset, Entries entries,
        const char* strSelector = nullptr, int iPitch = 4)
    {
        Register(strName + "Reg", uiOffset, false, strSelector, "RW", iPitch);
        std::string strBody;
        for (const auto& [strEntry, iValue] : entries)
            strBody += std::string("<EnumEntry Name=\"") + strEntry + "\">" + Element("Value", std::to_string(iValue))
                + "</EnumEntry>";
        Node("Enumeration", strName, strBody + Element("pValue", strName + "Reg"));
    }
    void Node(const char* strKind, const std::string& strName, const std::string& strBody)
    {
        m_strText += std::string("<") + strKind + " Name=\"" + strName + "\">" + strBody + "</" + strKind + ">\n";
    }
    void Raw(const std::string& strText) { m_strText += strText; }
    std::string Take() { return std::move(m_strText); }

private:
    std::uint32_t m_uiBase;
    std::string m_strText;
};

void ImageFormat(Writer& xml, const SoftCameraSetup& setup)
{
    xml.ReadOnly("SensorWidth", feature::SensorWidth);
    xml.ReadOnly("SensorHeight", feature::SensorHeight);
    // A camera may name its limits, or only say what a size may be just now.
    const bool bRare = setup.eDialect == Dialect::Rare;
    xml.ReadOnly(bRare ? "WidthRoom" : "WidthMax", bRare ? feature::WidthRoom : feature::WidthMax);
    xml.ReadOnly(bRare ? "HeightRoom" : "HeightMax", bRare ? feature::HeightRoom : feature::HeightMax);
    const std::string strWidest = Element("pMax", bRare ? "WidthRoom" : "WidthMax");
    const std::string strHighest = Element("pMax", bRare ? "HeightRoom" : "HeightMax");
    xml.Integer("Width", feature::Width, "<Min>16</Min>" + strWidest + "<Inc>4</Inc>");
    xml.Integer("Height", feature::Height, "<Min>16</Min>" + strHighest + "<Inc>2</Inc>");
    xml.Integer("OffsetX", feature::OffsetX, "<Min>0</Min><pMax>SensorWidth</pMax><Inc>2</Inc>");
    xml.Integer("OffsetY", feature::OffsetY, "<Min>0</Min><pMax>SensorHeight</pMax><Inc>2</Inc>");
    if (setup.strModel.ends_with('C'))
        xml.Enumeration("PixelFormat", feature::PixelFormat, { { "Mono8", kMono8 }, { "BayerRG8", kBayerRG8 } });
    else
        xml.Enumeration("PixelFormat", feature::PixelFormat, { { "Mono8", kMono8 } });
    xml.ReadOnly("PayloadSize", feature::PayloadSize);
    if (setup.eDialect == Dialect::Modern)
        xml.Enumeration("VideoMode", feature::VideoMode, { { "Mode0", 0 }, { "Mode1", 1 } });
    if (setup.eDialect == Dialect::Older) {
        xml.Integer("BinningHorizontal", feature::BinningHorizontal, "<Min>1</Min><Max>2</Max>");
        xml.Integer("BinningVertical", feature::BinningVertical, "<Min>1</Min><Max>2</Max>");
    }
}

void Rate(Writer& xml, Dialect eDialect)
{
    xml.Register("FrameRateMaxReg", feature::FrameRateMax, true, nullptr, "RO");
    const bool bRare = eDialect == Dialect::Rare;
    xml.Boolean(bRare ? "AcquisitionFrameRateEnabled" : "AcquisitionFrameRateEnable", feature::FrameRateEnable);
    if (bRare || eDialect == Dialect::Modern)
        xml.Enumeration("AcquisitionFrameRateAuto", feature::FrameRateAuto, { { "Off", 0 }, { "Continuous", 2 } });
    const char* strName = eDialect == Dialect::Modern ? "AcquisitionFrameRate"
        : bRare                                       ? "FrameRate"
                                                      : "AcquisitionFrameRateAbs";
    xml.Float(strName, feature::FrameRate, "<Min>1</Min><pMax>FrameRateMaxReg</pMax><Unit>Hz</Unit>");
}

void Exposure(Writer& xml, Dialect eDialect)
{
    const std::string strRaw = eDialect == Dialect::Raw ? "<Description>Exposure in steps of 20 us.</Description>" : "";
    const char* strName = eDialect == Dialect::Modern ? "ExposureTime"
        : eDialect == Dialect::Rare                   ? "Exposure"
                                                      : "ExposureTimeAbs";
    xml.Enumeration("ExposureAuto", feature::ExposureAuto, { { "Off", 0 }, { "Continuous", 2 } });
    if (eDialect == Dialect::Rare)
        xml.Enumeration("ExposureMode", feature::ExposureMode, { { "Timed", 0 }, { "TriggerWidth", 1 } });
    if (eDialect == Dialect::Raw || eDialect == Dialect::Unitless)
        xml.Integer("ExposureTimeRaw", feature::ExposureRaw, "<Min>5</Min><Max>50000</Max><Inc>5</Inc>", strRaw);
    else
        xml.Float(strName, feature::ExposureTime, "<Min>10</Min><Max>10000000</Max><Unit>us</Unit>");
}

void Trigger(Writer& xml, Dialect eDialect)
{
    if (eDialect == Dialect::Rare) {
        xml.Enumeration(
            "TriggerSelector", feature::TriggerSelector, { { "FrameStart", 0 }, { "AcquisitionStart", 1 } });
        xml.Enumeration("TriggerMode", feature::TriggerMode, { { "Off", 0 }, { "On", 1 } }, "TriggerSelectorReg",
            feature::AcquisitionTrigger - feature::TriggerMode);
        xml.Enumeration("TriggerSource", feature::TriggerSource,
            { { "Software", 0 }, { "Input0", 1 }, { "Input1", 2 }, { "Input2", 3 }, { "Input3", 4 } });
    } else {
        xml.Enumeration("TriggerSelector", feature::TriggerSelector, { { "FrameStart", 0 } });
        xml.Enumeration("TriggerMode", feature::TriggerMode, { { "Off", 0 }, { "On", 1 } });
        xml.Enumeration("TriggerSource", feature::TriggerSource,
            { { "Software", 0 }, { "Line0", 1 }, { "Line1", 2 }, { "Line2", 3 }, { "Line3", 4 } });
    }
    xml.Enumeration("TriggerActivation", feature::TriggerActivation, { { "RisingEdge", 0 }, { "FallingEdge", 1 } });
    if (eDialect == Dialect::Modern)
        xml.Enumeration("TriggerOverlap", feature::TriggerOverlap, { { "Off", 0 }, { "ReadOut", 1 } });
    xml.Command("TriggerSoftware", feature::TriggerSoftware);
}

void Acquisition(Writer& xml, Dialect eDialect)
{
    xml.Enumeration("AcquisitionMode", feature::AcquisitionMode, { { "Continuous", 0 }, { "SingleFrame", 1 } });
    xml.Command("AcquisitionStart", feature::AcquisitionStart);
    xml.Command("AcquisitionStop", feature::AcquisitionStop);
    if (eDialect == Dialect::Bare)
        return;
    Rate(xml, eDialect);
    Exposure(xml, eDialect);
    Trigger(xml, eDialect);
}

void Analog(Writer& xml, const SoftCameraSetup& setup)
{
    if (setup.eDialect == Dialect::Modern) {
        xml.Enumeration("GainSelector", feature::GainSelector, { { "Digital", 0 }, { "All", 1 } });
        xml.Register("GainAvailable", feature::GainAvailable, false);
        xml.Float("Gain", feature::Gain,
            "<pIsAvailable>GainAvailable</pIsAvailable><Min>0</Min><Max>29</Max><Unit>dB</Unit>");
    } else if (setup.eDialect == Dialect::Rare) {
        xml.Float("GainAbs", feature::Gain, "<Min>0</Min><Max>29</Max><Unit>dB</Unit>");
    } else {
        xml.Integer("GainRaw", feature::GainRaw, "<Min>0</Min><Max>290</Max>");
    }
    xml.Enumeration("GainAuto", feature::GainAuto, { { "Off", 0 }, { "Continuous", 2 } });
    if (!setup.strModel.ends_with('C'))
        return;
    xml.Enumeration("BalanceRatioSelector", feature::BalanceRatioSelector, { { "Red", 0 }, { "Blue", 1 } });
    if (setup.eDialect == Dialect::Rare)
        xml.Integer(
            "BalanceRatioRaw", feature::BalanceRaw, "<Min>0</Min><Max>4095</Max>", "", "BalanceRatioSelectorReg");
    else
        xml.Float(setup.eDialect == Dialect::Modern ? "BalanceRatio" : "BalanceRatioAbs", feature::BalanceRatio,
            "<Min>0</Min><Max>4</Max>", "BalanceRatioSelectorReg");
    xml.Enumeration("BalanceWhiteAuto", feature::BalanceWhiteAuto, { { "Off", 0 }, { "Continuous", 2 } });
}

void LineSources(Writer& xml, Dialect eDialect)
{
    switch (eDialect) {
    case Dialect::Rare:
        xml.Enumeration("LineSource", feature::LineSource,
            { { "Strobe", LineExposureActive }, { "UserOutput", LineUserOutput } }, "LineSelectorReg");
        xml.Boolean("StrobeEnable", feature::StrobeEnable, "LineSelectorReg");
        break;
    case Dialect::Raw:
        xml.Enumeration(
            "LineSource", feature::LineSource, { { "ExposureActive", LineExposureActive } }, "LineSelectorReg");
        break;
    default:
        xml.Enumeration("LineSource", feature::LineSource,
            { { "Off", LineOff }, { "ExposureActive", LineExposureActive }, { "UserOutput", LineUserOutput } },
            "LineSelectorReg");
    }
}

void DigitalIo(Writer& xml, Dialect eDialect)
{
    const Entries lines { { "Line0", 0 }, { "Line1", 1 }, { "Line2", 2 }, { "Line3", 3 } };
    const bool bRare = eDialect == Dialect::Rare;
    xml.Enumeration("LineSelector", feature::LineSelector, lines);
    xml.Enumeration("LineMode", feature::LineMode, { { "Input", 0 }, { "Output", 1 } }, "LineSelectorReg");
    xml.Boolean("LineInverter", feature::LineInverter, "LineSelectorReg");
    LineSources(xml, eDialect);
    xml.ReadOnly("LineStatus", feature::LineStatus, "LineSelectorReg");
    if (!bRare)
        xml.ReadOnly("LineStatusAll", feature::LineStatusAll);
    if (eDialect == Dialect::Raw)
        return;
    xml.Enumeration("UserOutputSelector", feature::UserOutputSelector,
        { { "UserOutput0", 0 }, { "UserOutput1", 1 }, { "UserOutput2", 2 }, { "UserOutput3", 3 } });
    xml.Boolean("UserOutputValue", feature::UserOutputValue, "UserOutputSelectorReg");
    xml.Float(bRare ? "StrobeLineDelay" : "StrobeDelay", feature::StrobeDelay, "<Min>0</Min><Max>1000000</Max>",
        "LineSelectorReg");
    xml.Float(bRare ? "StrobeLineDuration" : "StrobeDuration", feature::StrobeDuration,
        "<Min>0</Min><Max>1000000</Max>", "LineSelectorReg");
}

} // namespace

std::string MakeGenicamXml(const SoftCameraSetup& setup, std::uint32_t uiFeatureBase)
{
    Writer xml(uiFeatureBase);
    xml.Raw("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<RegisterDescription ModelName=\"Software\" VendorName=\"Software\" StandardNameSpace=\"None\" "
            "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\" SchemaSubMinorVersion=\"1\" MajorVersion=\"1\" "
            "MinorVersion=\"0\" SubMinorVersion=\"0\" ToolTip=\"Software camera\" "
            "ProductGuid=\"00000000-0000-0000-0000-000000000001\" VersionGuid=\"00000000-0000-0000-0000-000000000001\" "
            "xmlns=\"http://www.genicam.org/GenApi/Version_1_0\">\n"
            "<Category Name=\"Root\"><pFeature>Width</pFeature><pFeature>Height</pFeature></Category>\n");
    ImageFormat(xml, setup);
    Acquisition(xml, setup.eDialect);
    if (setup.eDialect != Dialect::Bare)
        Analog(xml, setup);
    if (setup.eDialect == Dialect::Modern || setup.eDialect == Dialect::Raw || setup.eDialect == Dialect::Rare)
        DigitalIo(xml, setup.eDialect);
    if (setup.eDialect == Dialect::Modern)
        xml.Boolean("ChunkModeActive", feature::ChunkModeActive);
    xml.Integer("TLParamsLocked", feature::TLParamsLocked, "<Min>0</Min><Max>1</Max>");
    xml.Raw("<Port Name=\"Device\"/>\n</RegisterDescription>\n");
    return xml.Take();
}

} // namespace vireo::peers
