// The bridge to the host's Graphics: the declaration that each host version has is the one that is called.

#include <cmath>

#include "bridge/graphics_bridge.h"
#include "unit/bridge/bridge_hosted_test.h"
#include "unit/frame/fresh_process.h"

namespace trv {
namespace {

using test::BridgeHostedTest;
using test::HostKind;
using test::HostOf;
using test::Picture;
using test::Ref;
using ::testing::ElementsAre;

constexpr double kVersions[] = {2017.03, 2018.02, 2019.03, 2020.0, 2024.01};

class GraphicsBridgeTest : public BridgeHostedTest {
  protected:
    /// Runs `draw` with the Graphics of a new picture on a host of each version, and compares the member that
    /// was called with the one that is expected: below 2018.02, below 2020.0, and from then on.
    template <class Draw>
    void ExpectMembers(const std::string& integers, const std::string& doubles, const std::string& newest,
                       Draw&& draw) {
        for (const double version : kVersions) {
            Load(HostOf(HostKind::Console, version));
            const Picture picture = NewPicture(20, 20);
            const Ref graphics = TheHost().GraphicsOf(picture);
            TheHost().Settings().trace = true;
            draw(ObjectOf(graphics));
            std::vector<std::string> members;
            for (const std::string& entry : TheHost().Trace()) {
                if (entry.starts_with("Graphics.")) members.push_back(entry.substr(9));
            }
            const std::string& expected = version < 2018.02 ? integers : version < 2020.0 ? doubles : newest;
            EXPECT_THAT(members, ElementsAre(expected)) << version;
        }
    }

    template <class Draw>
    void ExpectRectangle(const std::string& oldName, const std::string& newName, Draw&& draw) {
        const auto declare = [](const std::string& name, const std::string& type) {
            return name + "( x as " + type + ", y as " + type + ", width as " + type + ", height as " + type +
                   " )";
        };
        ExpectMembers(declare(oldName, "Integer"), declare(oldName, "Double"), declare(newName, "Double"),
                      [&](HostObject graphics) {
                          draw(graphics, 3, 4, 10, 8);
                          draw(nullptr, 3, 4, 10, 8);
                      });
    }

    template <class Draw>
    void ExpectRound(const std::string& verb, Draw&& draw) {
        ExpectMembers(
            verb +
                "RoundRect( x as Integer, y as Integer, width as Integer, height as Integer, ArcWidth as "
                "integer, ArcHeight as integer )",
            verb +
                "RoundRect(x As Double, y As Double, width As Double, height As Double, arcWidth As "
                "Double, arcHeight As Double)",
            verb +
                "RoundRectangle(x As Double, y As Double, width As Double, height As Double, cornerWidth "
                "As Double, cornerHeight As Double)",
            [&](HostObject graphics) {
                draw(graphics, 3, 4, 10, 8, 2, 2);
                draw(nullptr, 3, 4, 10, 8, 2, 2);
            });
    }
};

TEST_F(GraphicsBridgeTest, Shapes) {
    ExpectRectangle("ClearRect", "ClearRectangle", GraphicsClearRectangle);
    ExpectRectangle("DrawRect", "DrawRectangle", GraphicsDrawRectangle);
    ExpectRectangle("FillRect", "FillRectangle", GraphicsFillRectangle);
    ExpectRectangle("DrawOval", "DrawOval", GraphicsDrawOval);
    ExpectRectangle("FillOval", "FillOval", GraphicsFillOval);
    ExpectRound("Draw", GraphicsDrawRoundRectangle);
    ExpectRound("Fill", GraphicsFillRoundRectangle);
    const std::string doubles = "DrawLine( x1 as Double, y1 as Double, x2 as Double, y2 as Double )";
    ExpectMembers("DrawLine( x1 as Integer, y1 as Integer, x2 as Integer, y2 as Integer )", doubles, doubles,
                  [](HostObject graphics) {
                      GraphicsDrawLine(graphics, 3, 4, 10, 8);
                      GraphicsDrawLine(nullptr, 3, 4, 10, 8);
                  });
}

TEST_F(GraphicsBridgeTest, AMissingDeclarationMovesToTheNext) {
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options = HostOf(HostKind::Console, 2024.01);
        options.missingMembers = {
            "FillRectangle( x as Double, y as Double, width as Double, height as Double )",
            "ClearRectangle( x as Double, y as Double, width as Double, height as Double )",
            "ClearRect( x as Double, y as Double, width as Double, height as Double )",
            "TextWidth(Text As String) as Double"};
        Load(options);
        const Picture picture = NewPicture(20, 20);
        const Ref graphics = TheHost().GraphicsOf(picture);
        SetGraphicsForeColor(ObjectOf(graphics), 0x123456);
        GraphicsFillRectangle(ObjectOf(graphics), 0, 0, 5, 5);
        EXPECT_EQ(picture.Pixel(4, 4), 0xFF123456U);
        GraphicsClearRectangle(ObjectOf(graphics), 0, 0, 5, 5);
        EXPECT_EQ(picture.Pixel(4, 4), 0xFF123456U) << "this host has no declaration with integers either";
        const trvhost::String text = TheHost().NewString("four");
        EXPECT_GT(GraphicsTextWidth(ObjectOf(graphics), StringOf(text)), 10);
    });
}

TEST_F(GraphicsBridgeTest, NumbersArriveInTheirOrder) {
    for (const double version : kVersions) {
        Load(HostOf(HostKind::Console, version));
        const Picture picture = NewPicture(20, 20);
        const Ref graphics = TheHost().GraphicsOf(picture);
        SetGraphicsForeColor(ObjectOf(graphics), 0x123456);
        EXPECT_EQ(GraphicsForeColor(ObjectOf(graphics)), 0x123456U);
        GraphicsFillRectangle(ObjectOf(graphics), 3, 5, 10, 2);
        EXPECT_EQ(picture.Pixel(3, 5), 0xFF123456U);
        EXPECT_EQ(picture.Pixel(12, 6), 0xFF123456U);
        EXPECT_EQ(picture.Pixel(13, 6), 0xFFFFFFFFU);
        EXPECT_EQ(picture.Pixel(12, 7), 0xFFFFFFFFU);
        GraphicsClearRectangle(ObjectOf(graphics), 4, 5, 2, 1);
        EXPECT_EQ(picture.Pixel(5, 5), 0xFFFFFFFFU);
        EXPECT_EQ(picture.Pixel(6, 5), 0xFF123456U);
        GraphicsDrawLine(ObjectOf(graphics), 0, 19, 4, 19);
        EXPECT_EQ(picture.Pixel(4, 19), 0xFF123456U);
        EXPECT_EQ(picture.Pixel(5, 19), 0xFFFFFFFFU);
    }
}

TEST_F(GraphicsBridgeTest, TextWidth) {
    for (const double version : kVersions) {
        Load(HostOf(HostKind::Console, version));
        const Picture picture = NewPicture(20, 20);
        const Ref graphics = TheHost().GraphicsOf(picture);
        const trvhost::String text = TheHost().NewString("four");
        const double width = GraphicsTextWidth(ObjectOf(graphics), StringOf(text));
        if (version < 2018.02) {
            EXPECT_EQ(width, 0);
        } else {
            EXPECT_GT(width, 10);
        }
        EXPECT_EQ(TheHost().Calls("Graphics.TextWidth(Text As String) as Double"), version >= 2020.0 ? 1 : 0);
        EXPECT_EQ(GraphicsTextWidth(nullptr, StringOf(text)), 0);
    }
}

TEST_F(GraphicsBridgeTest, FontSize) {
    for (const double version : kVersions) {
        Load(HostOf(HostKind::Console, version));
        const Picture picture = NewPicture(20, 20);
        const Ref graphics = TheHost().GraphicsOf(picture);
        SetGraphicsFontSize(ObjectOf(graphics), 17.75);
        EXPECT_EQ(GraphicsFontSize(ObjectOf(graphics)), version < 2018.02 ? 17 : 17.75) << version;
        EXPECT_EQ(GraphicsFontSize(nullptr), 12);
        SetGraphicsFontSize(nullptr, 3);
        const Ref block = TheHost().NewMemoryBlock(4);
        EXPECT_EQ(GraphicsFontSize(ObjectOf(block)), 12) << "an object without the property";
    }
}

TEST_F(GraphicsBridgeTest, FontSizeWhereNewerPropertiesAreMissing) {
    trvhost::Options options = HostOf(HostKind::Console, 2024.01);
    options.missingMembers = {"FontSize"};
    Load(options);
    const Picture picture = NewPicture(20, 20);
    const Ref graphics = TheHost().GraphicsOf(picture);
    SetGraphicsFontSize(ObjectOf(graphics), 9.5);
    EXPECT_EQ(GraphicsFontSize(ObjectOf(graphics)), 9.5);
}

TEST_F(GraphicsBridgeTest, Pen) {
    for (const double version : kVersions) {
        Load(HostOf(HostKind::Console, version));
        const Picture picture = NewPicture(20, 20);
        const Ref graphics = TheHost().GraphicsOf(picture);
        SetGraphicsPenWidth(ObjectOf(graphics), 2.9);
        SetGraphicsPenHeight(ObjectOf(graphics), 3.9);
        const bool isOnePen = version >= 2018.02;
        EXPECT_EQ(GraphicsPenWidth(ObjectOf(graphics)), isOnePen ? 3.9 : 2) << version;
        EXPECT_EQ(GraphicsPenHeight(ObjectOf(graphics)), isOnePen ? 3.9 : 3) << version;
    }
    EXPECT_EQ(GraphicsPenWidth(nullptr), 0);
    EXPECT_EQ(GraphicsPenHeight(nullptr), 0);
    SetGraphicsPenWidth(nullptr, 1);
}

TEST_F(GraphicsBridgeTest, SizesThatNoWholeNumberStandsFor) {
    Load(HostOf(HostKind::Console, 2017.03));
    const Picture picture = NewPicture(20, 20);
    const Ref graphics = TheHost().GraphicsOf(picture);
    for (const double size : {std::nan(""), 1e300, -1e300, 9223372036854775808.0}) {
        SetGraphicsPenWidth(ObjectOf(graphics), 5);
        SetGraphicsPenWidth(ObjectOf(graphics), size);
        EXPECT_EQ(GraphicsPenWidth(ObjectOf(graphics)), 0) << size;
    }
}

TEST_F(GraphicsBridgeTest, TextFont) {
    const Picture picture = NewPicture(20, 20);
    const Ref graphics = TheHost().GraphicsOf(picture);
    const trvhost::String name = TheHost().NewString("Courier");
    SetGraphicsTextFont(ObjectOf(graphics), StringOf(name));
    EXPECT_EQ(Adopt(GraphicsTextFont(ObjectOf(graphics))).Bytes(), "Courier");
    EXPECT_EQ(GraphicsTextFont(nullptr), nullptr);
    SetGraphicsTextFont(nullptr, StringOf(name));
}

TEST_F(GraphicsBridgeTest, ForeColorOfNilIsBlack) {
    EXPECT_EQ(GraphicsForeColor(nullptr), 0U);
    SetGraphicsForeColor(nullptr, 1);
}

}  // namespace
}  // namespace trv
