#include "qzil/image/image_ops.h"

#include <gtest/gtest.h>

namespace qzil::test {
namespace {

/// The first image of a process makes the image pool. Tests that count memory are to find it made, whichever of them
/// runs first or alone.
class PoolEnvironment : public testing::Environment {
public:
    void SetUp() override {
        Ref<IXFImage> image;
        ASSERT_EQ(qzILCreateImage(nullptr, IID_IXFImage, image.Out()), 0);
    }
};

testing::Environment* const g_pPoolEnvironment = testing::AddGlobalTestEnvironment(new PoolEnvironment);

}  // namespace
}  // namespace qzil::test
