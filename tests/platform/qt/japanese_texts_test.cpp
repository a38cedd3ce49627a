#include "platform/qt/japanese_texts.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <clocale>
#include <gtest/gtest.h>

namespace vireo {
namespace {

TEST(JapaneseTexts, ButtonsSpeakJapanese)
{
    QDialogButtonBox buttons(
        QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Yes | QDialogButtonBox::No);
    EXPECT_EQ(buttons.button(QDialogButtonBox::Ok)->text(), QStringLiteral("OK"));
    EXPECT_EQ(buttons.button(QDialogButtonBox::Cancel)->text(), QStringLiteral("キャンセル"));
    EXPECT_EQ(buttons.button(QDialogButtonBox::Yes)->text(), QStringLiteral("はい(&Y)"));
    EXPECT_EQ(buttons.button(QDialogButtonBox::No)->text(), QStringLiteral("いいえ(&N)"));
}

TEST(JapaneseTexts, UnknownTextsStayAsTheyAre)
{
    EXPECT_EQ(QCoreApplication::translate("any", "no such text"), QStringLiteral("no such text"));
}

TEST(JapaneseTexts, NumbersKeepThePoint)
{
    EXPECT_STREQ(std::localeconv()->decimal_point, ".");
    char text[16];
    std::snprintf(text, sizeof text, "%f", 2.5);
    EXPECT_STREQ(text, "2.500000");
}

} // namespace
} // namespace vireo
