// The plug-in's own tables under the tool for the writers of tables.

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "frame/validate_class.h"
#include "image/picture_factory.h"
#include "image/picture_record.h"
#include "plugin/class_definitions.h"
#include "unit/frame/fresh_process.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using Lines = std::vector<std::string>;

Lines FaultsOf(const ClassDefinition& definition) {
    const test::LogCapture log;
    ValidateClass(definition);
    return log.Messages();
}

class OwnTables : public test::HostedTest {};

TEST_F(OwnTables, HaveNoFaultOnAnyHost) {
    TRV_IN_FRESH_PROCESS({
        for (const double version : trvhost::kVersionThresholds) {
            trvhost::Options options;
            options.version = version;
            Load(options);
            RegisterPicture();
            RegisterFactory();
            ASSERT_EQ(TheHost().Classes().size(), 2U);
            EXPECT_EQ(FaultsOf(pictureClass), Lines{}) << version;
            EXPECT_EQ(FaultsOf(factoryClass), Lines{}) << version;
        }
    });
}

TEST_F(OwnTables, AFaultPutIntoThemIsFound) {
    TRV_IN_FRESH_PROCESS({
        RegisterPicture();
        RegisterFactory();
        const auto expect = [](auto& field, auto broken, const ClassDefinition& definition,
                               const std::string& line) {
            const auto whole = std::exchange(field, broken);
            EXPECT_EQ(FaultsOf(definition), Lines{line});
            field = whole;
            EXPECT_EQ(FaultsOf(definition), Lines{});
        };
        const std::string name = pictureClass.sharedMethods[1].declaration;
        expect(pictureClass.sharedMethods[1].function, nullptr, pictureClass,
               "Error: The method PictureTRV." + name + " has nil function.");
        expect(pictureClass.methods[pictureClass.methodCount - 1].declaration, nullptr, pictureClass,
               "Error: The method PictureTRV." + std::to_string(pictureClass.methodCount - 1) +
                   " has nil declaration.");
        expect(pictureClass.properties[47].name, nullptr, pictureClass,
               "Error: The property PictureTRV.47 has nil name.");
        expect(pictureClass.constants[87].declaration, nullptr, pictureClass,
               "Error: The constant PictureTRV.87 has nil declaration.");
        expect(factoryClass.events[0].attributeCount, 1, factoryClass,
               "Error: The event PictureFactoryTRV." + std::string(factoryClass.events[0].declaration) +
                   " has the wrong attributeCount value: 1");
    });
}

}  // namespace
}  // namespace trv
