#include "platform/iidc/firewire_card.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace vireo {

namespace {

/// The kernel's folders of the nodes on FireWire buses.
class FirewireCardTest : public testing::Test {
protected:
    void AddNode(const std::string& strCard, const std::string& strName, const std::string& strGuid)
    {
        std::filesystem::create_directories(m_folder / (strCard + "/" + strName));
        std::filesystem::create_directories(Nodes());
        test::WriteFile(m_folder / (strCard + "/" + strName + "/guid"), strGuid);
        std::filesystem::create_directory_symlink("../" + strCard + "/" + strName, Nodes() + "/" + strName);
    }
    std::string Nodes() const { return m_folder / "nodes"; }

    const test::TemporaryFolder m_folder;
};

TEST_F(FirewireCardTest, CamerasOfOneCardHaveItsNumberAndThoseOfAnotherDoNot)
{
    AddNode("card-a", "fw0", "0x0011223344556677\n"); // the card itself
    AddNode("card-a", "fw1", "0x00b09d0100a1b2c3\n");
    AddNode("card-a", "fw2", "0x00b09d0100a1b2c4\n");
    AddNode("card-b", "fw3", "0x0011223344556688\n");
    AddNode("card-b", "fw10", "0x00b09d0100a1b2c5\n");
    EXPECT_EQ(FindFirewireCard(0x00b09d0100a1b2c3, Nodes()), 0U);
    EXPECT_EQ(FindFirewireCard(0x00b09d0100a1b2c4, Nodes()), 0U);
    EXPECT_EQ(FindFirewireCard(0x00b09d0100a1b2c5, Nodes()), 3U);
}

TEST_F(FirewireCardTest, WhatTheKernelDoesNotTellIsNotGuessed)
{
    EXPECT_EQ(FindFirewireCard(0x00b09d0100a1b2c3, Nodes()), std::nullopt); // no such bus here
    AddNode("card-a", "fw0", "0x0011223344556677\n");
    AddNode("card-a", "fw1", "00b09d0100a1b2c3\n");
    AddNode("card-a", "fw2", "0x00b09d0100a1b2c3z\n");
    AddNode("card-a", "fw3x", "0x00b09d0100a1b2c3\n");
    std::filesystem::create_directories(m_folder / "nodes/fw1.0"); // a unit of a node
    EXPECT_EQ(FindFirewireCard(0x00b09d0100a1b2c3, Nodes()), std::nullopt);
}

} // namespace

} // namespace vireo
