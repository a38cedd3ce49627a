#include "platform/linux/partner_protocol.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

using namespace std::string_literals;
using Kind = PartnerMessage::Kind;

TEST(PartnerSocketName, IsTheTitleInHexUpTo40BytesElseAHash)
{
    EXPECT_EQ(PartnerSocketName("Tessel"), "54657373656c.sock");
    EXPECT_EQ(PartnerSocketName("計"), "e8a888.sock");
    EXPECT_EQ(PartnerSocketName(std::string(40, 'a')).size(), 80U + 5U);
    // 64-bit FNV-1a of 41 times "a"
    EXPECT_EQ(PartnerSocketName(std::string(41, 'a')), "78f03ca8db5a7124.sock");
    EXPECT_NE(PartnerSocketName(std::string(41, 'a')), PartnerSocketName(std::string(42, 'a')));
}

TEST(PartnerLine, IsUnderstoodInTwoForms)
{
    const struct {
        std::string strLine;
        Kind eKind;
        int iIdentifier;
        std::string strText;
    } kRows[] = {
        { "command 32781", Kind::Command, 32781, "" },
        { "command 0", Kind::Command, 0, "" },
        { "command 2147483647", Kind::Command, 2147483647, "" },
        { "copydata 1081 2", Kind::CopyData, 1081, "2" },
        { "copydata 1081 two words ", Kind::CopyData, 1081, "two words " },
        { "copydata 1081 計測", Kind::CopyData, 1081, "計測" },
        { "copydata 1081 ", Kind::CopyData, 1081, "" },
        { "copydata 1081", Kind::CopyData, 1081, "" },
        { "copydata 1 " + std::string(4085, 'x'), Kind::CopyData, 1, std::string(4085, 'x') },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strLine.substr(0, 40));
        const std::optional<PartnerMessage> message = ParsePartnerLine(row.strLine);
        ASSERT_TRUE(message.has_value());
        EXPECT_EQ(message->eKind, row.eKind);
        EXPECT_EQ(message->iIdentifier, row.iIdentifier);
        EXPECT_EQ(message->strText, row.strText);
    }
}

TEST(PartnerLine, IsUnknownInAnyOther)
{
    const std::string kRows[] = { "", " ", "command", "command ", "command  1", "command x", "command 1x", "command 1 ",
        "command 1\r", "command -1", "command +1", "command 0x10", "command 2147483648", "command 99999999999999999999",
        "Command 1", "commands 1", " command 1", "copydata", "copydata x 1", "copydata -1 1", "copydata  1 1", "done",
        "unknown", "command 1\xFF", "copydata 1 \xC0\xAF", "copydata 1 \xE3\x81", "\0"s,
        "copydata 1 " + std::string(4086, 'x') };
    for (const std::string& strLine : kRows)
        EXPECT_FALSE(ParsePartnerLine(strLine).has_value()) << strLine.substr(0, 40);
}

TEST(PartnerLine, ComesBackAsTheMessageThatItWasMadeOf)
{
    EXPECT_EQ(FormatPartnerLine({ Kind::Command, 32782, "" }), "command 32782\n");
    EXPECT_EQ(FormatPartnerLine({ Kind::CopyData, 1081, "2" }), "copydata 1081 2\n");
}

TEST(PartnerLine, CarriesNoSecondMessageAndNoMoreThanItsSize)
{
    for (const char* pText : { "\n", "2\n", "2\ncommand 32782", "\ncommand 32782\n" })
        EXPECT_EQ(FormatPartnerLine({ Kind::CopyData, 1081, pText }), "") << pText;
    const std::string strLargest(kMaxPartnerLine - std::string("copydata 1081 ").size(), 'x');
    EXPECT_EQ(FormatPartnerLine({ Kind::CopyData, 1081, strLargest }), "copydata 1081 " + strLargest + "\n");
    EXPECT_EQ(FormatPartnerLine({ Kind::CopyData, 1081, strLargest + "x" }), "");
}

} // namespace
} // namespace vireo
