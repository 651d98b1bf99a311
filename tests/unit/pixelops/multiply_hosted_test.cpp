// The tables of multiplication, which a process builds once: when, and what serves without memory for them.

#include <gtest/gtest.h>

#include "platform/faults.h"
#include "trvhost/host.h"
#include "unit/frame/fresh_process.h"
#include "unit/hosted_test.h"

extern "C" void REALPluginMain(trv::HostResolver resolver);

namespace trv {

namespace {

class MultiplyTablesTest : public test::HostedTest {
  protected:
    static constexpr int64_t kValues = 256;
    static constexpr int64_t kPixelBytes = 4;

    MultiplyTablesTest() {
        resolving_ = &TheHost();
        REALPluginMain([](const char* name) { return resolving_->Resolve(name); });
        block_ = TheHost().NewMemoryBlock(kValues * kValues * kPixelBytes);
        image_ =
            TheHost().Construct("PictureTRV", block_, kValues, kValues,
                                TheHost().Constant("PictureTRV", "ImageFormatRGBA"), kValues * kPixelBytes);
    }

    void TearDown() override {
        image_ = {};
        block_ = {};
        HostedTest::TearDown();
    }

    /// Every value with every alpha, the value in all colours.
    void Fill() {
        size_t i = 0;
        for (uint8_t& byte : block_.Bytes()) {
            const size_t pixel = i / 4;
            byte = static_cast<uint8_t>(i % 4 == 3 ? pixel / 256 : pixel);
            ++i;
        }
    }

    /// Expects in all pixels what `formula(value, alpha)` gives.
    template <class Formula>
    void ExpectMade(Formula&& formula) {
        size_t i = 0;
        for (const uint8_t byte : block_.Bytes()) {
            const int value = static_cast<int>(i / 4 % 256), alpha = static_cast<int>(i / 4 / 256);
            ASSERT_EQ(byte, i % 4 == 3 ? alpha : formula(value, alpha)) << value << " of " << alpha;
            ++i;
        }
    }

    static uint8_t Direct(int value, int alpha) {
        const float share = static_cast<float>(alpha) / 255.0F;
        return static_cast<uint8_t>(static_cast<int>(static_cast<float>(value) * share + 0.5F));
    }

    /// Not bounded, so that it wraps above alpha; and 0 where the quotient is not finite.
    static uint8_t DirectBack(int value, int alpha) {
        if (alpha == 0) return 0;
        const float times = 255.0F / static_cast<float>(alpha);
        return static_cast<uint8_t>(static_cast<int>(times * static_cast<float>(value) + 0.5F));
    }

    /// Both operations by the formulas, from the first call on and for good.
    void ExpectNoTables(int64_t refusedBlock) {
        Fill();
        RefuseNth(Fault::ZeroedBlock, refusedBlock);
        TheHost().Call(image_, "Unmultiply");
        EXPECT_FALSE(RefusalPending(Fault::ZeroedBlock));
        ExpectMade(DirectBack);
        Fill();
        TheHost().Call(image_, "Multiply");
        ExpectMade(Direct);
        Fill();
        // There is memory now, but nothing is tried again.
        RefuseNth(Fault::ZeroedBlock, 1);
        TheHost().Call(image_, "Unmultiply");
        EXPECT_TRUE(RefusalPending(Fault::ZeroedBlock));
        ExpectMade(DirectBack);
    }

    trvhost::MemoryBlock block_;
    trvhost::Ref image_;

  private:
    static inline trvhost::Host* resolving_ = nullptr;
};

TEST_F(MultiplyTablesTest, WithoutMemoryForTheFirstTheFormulasServe) {
    TRV_IN_FRESH_PROCESS(ExpectNoTables(1););
}

TEST_F(MultiplyTablesTest, WithoutMemoryForTheSecondTheFormulasServe) {
    TRV_IN_FRESH_PROCESS(ExpectNoTables(2););
}

TEST_F(MultiplyTablesTest, NothingToDoBuildsNone) {
    TRV_IN_FRESH_PROCESS({
        Fill();
        RefuseNth(Fault::ZeroedBlock, 1);
        TheHost().Call(image_, "Multiply", kValues, 0, 5, 5);
        TheHost().Call(image_, "Unmultiply", 0, 0, 0, kValues);
        EXPECT_TRUE(RefusalPending(Fault::ZeroedBlock));
        RefuseNth(Fault::ZeroedBlock, 0);
        // So that there is memory when they are wanted: 0 without alpha becomes 255, which no formula gives.
        TheHost().Call(image_, "Unmultiply", 0, 0, 1, 1);
        EXPECT_EQ(block_.Bytes()[0], 255);
    });
}

}  // namespace

}  // namespace trv
