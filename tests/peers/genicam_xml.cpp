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
        const char* strAccess = "RW")
    {
        const char* strKind = bFloat ? "FloatReg" : "IntReg";
        m_strText += std::string("<") + strKind + " Name=\"" + strName + "\">";
        m_strText += Element("Address", std::to_string(m_uiBase + uiOffset));
        if (strSelector)
            m_strText += std::string("<pIndex Offset=\"4\">") + strSelector + "</pIndex>";
        m_strText += Element("Length", "4") + Element("AccessMode", strAccess) + Element("pPort", "Device");
        m_strText += Element("Cachable", "NoCache");
        if (!bFloat)
            m_strText += Element("Sign", "Unsigned");
        m_strText += Element("Endianess", "BigEndian") + "</" + strKind + ">\n";
    }
    void Integer(const std::string& strName, std::uint32_t uiOffset, const std::string& strLimits = "",
        const std::string& strSaid = "")
    {
        Register(strName + "Reg", uiOffset, false);
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
    void Enumeration(
        const std::string& strName, std::uint32_t uiOffset, Entries entries, const char* strSelector = nullptr)
    {
        Register(strName + "Reg", uiOffset, false, strSelector);
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
    xml.ReadOnly("WidthMax", feature::WidthMax);
    xml.ReadOnly("HeightMax", feature::HeightMax);
    xml.Integer("Width", feature::Width, "<Min>16</Min><pMax>WidthMax</pMax><Inc>4</Inc>");
    xml.Integer("Height", feature::Height, "<Min>16</Min><pMax>HeightMax</pMax><Inc>2</Inc>");
    xml.Integer("OffsetX", feature::OffsetX, "<Min>0</Min><pMax>WidthMax</pMax><Inc>2</Inc>");
    xml.Integer("OffsetY", feature::OffsetY, "<Min>0</Min><pMax>HeightMax</pMax><Inc>2</Inc>");
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

void Acquisition(Writer& xml, Dialect eDialect)
{
    xml.Enumeration("AcquisitionMode", feature::AcquisitionMode, { { "Continuous", 0 }, { "SingleFrame", 1 } });
    xml.Command("AcquisitionStart", feature::AcquisitionStart);
    xml.Command("AcquisitionStop", feature::AcquisitionStop);
    if (eDialect == Dialect::Bare)
        return;
    const bool bModern = eDialect == Dialect::Modern;
    xml.Register("FrameRateMaxReg", feature::FrameRateMax, true, nullptr, "RO");
    xml.Boolean("AcquisitionFrameRateEnable", feature::FrameRateEnable);
    xml.Float(bModern ? "AcquisitionFrameRate" : "AcquisitionFrameRateAbs", feature::FrameRate,
        "<Min>1</Min><pMax>FrameRateMaxReg</pMax><Unit>Hz</Unit>");
    xml.Enumeration("ExposureAuto", feature::ExposureAuto, { { "Off", 0 }, { "Continuous", 2 } });
    const std::string strRaw = eDialect == Dialect::Raw ? "<Description>Exposure in steps of 20 us.</Description>" : "";
    if (eDialect == Dialect::Raw || eDialect == Dialect::Unitless)
        xml.Integer("ExposureTimeRaw", feature::ExposureRaw, "<Min>5</Min><Max>50000</Max><Inc>5</Inc>", strRaw);
    else
        xml.Float(bModern ? "ExposureTime" : "ExposureTimeAbs", feature::ExposureTime,
            "<Min>10</Min><Max>10000000</Max><Unit>us</Unit>");
    xml.Enumeration("TriggerSelector", feature::TriggerSelector, { { "FrameStart", 0 } });
    xml.Enumeration("TriggerMode", feature::TriggerMode, { { "Off", 0 }, { "On", 1 } });
    xml.Enumeration("TriggerSource", feature::TriggerSource,
        { { "Software", 0 }, { "Line0", 1 }, { "Line1", 2 }, { "Line2", 3 }, { "Line3", 4 } });
    xml.Enumeration("TriggerActivation", feature::TriggerActivation, { { "RisingEdge", 0 }, { "FallingEdge", 1 } });
    if (bModern)
        xml.Enumeration("TriggerOverlap", feature::TriggerOverlap, { { "Off", 0 }, { "ReadOut", 1 } });
    xml.Command("TriggerSoftware", feature::TriggerSoftware);
}

void Analog(Writer& xml, const SoftCameraSetup& setup)
{
    if (setup.eDialect == Dialect::Modern) {
        xml.Enumeration("GainSelector", feature::GainSelector, { { "Digital", 0 }, { "All", 1 } });
        xml.Register("GainAvailable", feature::GainAvailable, false);
        xml.Float("Gain", feature::Gain,
            "<pIsAvailable>GainAvailable</pIsAvailable><Min>0</Min><Max>29</Max><Unit>dB</Unit>");
    } else {
        xml.Integer("GainRaw", feature::GainRaw, "<Min>0</Min><Max>290</Max>");
    }
    xml.Enumeration("GainAuto", feature::GainAuto, { { "Off", 0 }, { "Continuous", 2 } });
    if (!setup.strModel.ends_with('C'))
        return;
    xml.Enumeration("BalanceRatioSelector", feature::BalanceRatioSelector, { { "Red", 0 }, { "Blue", 1 } });
    xml.Float(setup.eDialect == Dialect::Modern ? "BalanceRatio" : "BalanceRatioAbs", feature::BalanceRatio,
        "<Min>0</Min><Max>4</Max>", "BalanceRatioSelectorReg");
    xml.Enumeration("BalanceWhiteAuto", feature::BalanceWhiteAuto, { { "Off", 0 }, { "Continuous", 2 } });
}

void DigitalIo(Writer& xml)
{
    const Entries lines { { "Line0", 0 }, { "Line1", 1 }, { "Line2", 2 }, { "Line3", 3 } };
    xml.Enumeration("LineSelector", feature::LineSelector, lines);
    xml.Enumeration("LineMode", feature::LineMode, { { "Input", 0 }, { "Output", 1 } }, "LineSelectorReg");
    xml.Boolean("LineInverter", feature::LineInverter, "LineSelectorReg");
    xml.Enumeration("LineSource", feature::LineSource,
        { { "Off", LineOff }, { "ExposureActive", LineExposureActive }, { "UserOutput", LineUserOutput } },
        "LineSelectorReg");
    xml.ReadOnly("LineStatus", feature::LineStatus, "LineSelectorReg");
    xml.ReadOnly("LineStatusAll", feature::LineStatusAll);
    xml.Enumeration("UserOutputSelector", feature::UserOutputSelector,
        { { "UserOutput0", 0 }, { "UserOutput1", 1 }, { "UserOutput2", 2 }, { "UserOutput3", 3 } });
    xml.Boolean("UserOutputValue", feature::UserOutputValue, "UserOutputSelectorReg");
    xml.Float("StrobeDelay", feature::StrobeDelay, "<Min>0</Min><Max>1000000</Max>", "LineSelectorReg");
    xml.Float("StrobeDuration", feature::StrobeDuration, "<Min>0</Min><Max>1000000</Max>", "LineSelectorReg");
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
    if (setup.eDialect == Dialect::Modern)
        DigitalIo(xml);
    if (setup.eDialect == Dialect::Modern)
        xml.Boolean("ChunkModeActive", feature::ChunkModeActive);
    xml.Integer("TLParamsLocked", feature::TLParamsLocked, "<Min>0</Min><Max>1</Max>");
    xml.Raw("<Port Name=\"Device\"/>\n</RegisterDescription>\n");
    return xml.Take();
}

} // namespace vireo::peers
