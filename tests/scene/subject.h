#pragma once

#include "qzil/frame/dyadic.h"
#include "qzil/frame/monadic.h"
#include "scene/scene.h"

#include <gtest/gtest.h>

/// An effect of the catalogue over whole images of one format, for tests of what it refuses and survives.
namespace qzil::test {

struct Subject {
    Scene oScene;
    Images oImages;
    catalog::Instance oInstance;

    explicit Subject(Scene const& scene) : oScene(scene), oImages(oScene), oInstance(Prepare(oScene, oImages)) {}
    Subject(catalog::Entry const& entry, GUID const& format, int width = 16, int height = 8)
        : Subject(SceneOf(entry, format, width, height)) {}

    qzILImgProc& operator*() { return dynamic_cast<qzILImgProc&>(oInstance.Effect()); }
    qzILImgProc* operator->() { return &**this; }
    void SetInputs(IXFImage* image) {
        for (std::size_t i = 0; i < oScene.pEntry->oInputs.size(); ++i) oInstance.SetInput(i, image);
    }
    void SetOutputs(IXFImage* image) {
        for (std::size_t i = 0; i < oScene.pEntry->oOutputs.size(); ++i) oInstance.SetOutput(image, i);
    }
    /// Verify gives a code; 0 accepts.
    testing::AssertionResult Answers(unsigned code) { return Answers(oInstance.Effect().Verify(), code); }
    testing::AssertionResult Executes(unsigned code) { return Answers(oInstance.Effect().Execute(), code); }

    static Scene SceneOf(catalog::Entry const& entry, GUID const& format, int width, int height) {
        Scene scene = PlainScene(entry, format, width, height);
        scene.uMode = 15;
        return scene;
    }
    static bool IsOfImageFrame(catalog::Entry const& entry) {
        return dynamic_cast<qzILImgProc*>(entry.pCreate().get()) != nullptr;
    }
    std::string Describe() const { return oScene.pEntry->sName + ' ' + NameOf(oScene.oFormat); }

private:
    testing::AssertionResult Answers(qzILStatus status, unsigned code) {
        unsigned const actual = oInstance.Effect().GetLastError().GetErrorCode();
        oInstance.Effect().SetLastError(0);
        if (status == (code == 0 ? 1 : -1) && (code == 0 || actual == code)) return testing::AssertionSuccess();
        char text[64];
        std::snprintf(text, sizeof text, ": expected 0x%X, actual %d and 0x%X", code, static_cast<int>(status), actual);
        return testing::AssertionFailure() << Describe() << text;
    }
};

/// The same of an effect whose class a test knows.
template <class Effect>
struct Ready : Subject {
    explicit Ready(Scene const& scene) : Subject(scene) {}
    Ready(char const* name, GUID const& format = MFIF_RGBA_RAW_32, int width = 9, int height = 7)
        : Subject(*catalog::Find(name), format, width, height) {}
    Effect& operator*() { return dynamic_cast<Effect&>(oInstance.Effect()); }
    Effect* operator->() { return &**this; }
    std::span<unsigned char> Output() const { return Bytes(oImages.Output()); }
};

/// An image that knows its format and size but has no pixels.
inline Ref<IXFImage> WithoutPixels(GUID const& format, int width = 16, int height = 8) {
    auto image = MakeImage(format, 0, 0);
    if (image) {
        image->SetPixelArray(nullptr);
        image->SetRes(width, height);
    }
    return image;
}

}  // namespace qzil::test
