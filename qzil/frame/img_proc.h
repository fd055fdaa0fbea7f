#pragma once

#include "qzil/frame/processor.h"
#include "qzil/image/color.h"
#include "qzil/image/image.h"
#include "qzil/image/lines.h"

#include <initializer_list>
#include <span>

namespace qzil::kernel {
struct Call;
struct Form;
struct Forms;
struct RowCall;
struct RowTraits;
struct Walk;
template <template <class> class Rule, class... T>
struct Operation;
}  // namespace qzil::kernel

/// Base of all effects that write an image.
///
/// The region of interest has its origin in input coordinates; the output offset says where that origin lands in the
/// output. The mask rectangle lies in input coordinates and has the mask image's size. Inside the output region, pixels
/// without an input pixel get the default colour, those outside the mask rectangle the input pixel, all others the
/// effect, governed by the mask's value. Outside it no byte is touched. Images must stay valid during Execute; no
/// reference is taken.
///
/// Verify: 0x10002 no output, 0x10003 output without pixels, 0x10005 mask without pixels, 0x10006 mask and mask
/// rectangle differ in size, 0x10007 not a mask format, 0x10008 the mask channel does not suit the mask's format,
/// 0x10009 mask and output differ in channel size, 0x1000A the region does not fit the output, 0x20002 the format's
/// channels cannot be selected like that: a YCC format without alpha needs all of 1, 2, 4, one with alpha 7, 8 or 15.
class QZIL_API qzILImgProc : public qzILProcessor {
    QZIL_EFFECT_CLASS(qzILImgProc)
public:
    qzILImgProc() { Init(); }

    qzILStatus Execute() override;
    qzILStatus Verify() override;
    virtual qzILStatus PrepareData() = 0;
    virtual qzILStatus ProcessData() = 0;
    virtual qzILStatus CleanData() = 0;
    /// Fill what lies in the second rectangle but not in the first: with a colour, with the pixels of a view, or with
    /// an image, copied or, when premultiplied, composited over nothing.
    virtual void FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILColor const& color);
    virtual void FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILImageHelper const& source);
    virtual void FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, IXFImage* image, int premultiplied,
                            qzILVector2l const& offset);

    void Init();
    void Trash() {}

    /// Also makes the region of interest the image's size, unless SetROI was called.
    void SetOutputImg(IXFImage* image);
    IXFImage* GetOutputImg() const { return m_pOutputImg; }
    void SetROI(qzILBbox2l const& roi);
    qzILBbox2l const& GetROI() const { return m_oRoi; }
    void SetOutputOffset(qzILVector2l const& offset) { m_oOutputOffset = offset; }
    qzILVector2l const& GetOutputOffset() const { return m_oOutputOffset; }
    /// `channel`: 1, 2, 4, 8 of a four-channel mask, 16 of a one-channel mask.
    void SetMask(qzILBbox2l const& rectangle, IXFImage* image, XFImageChannel channel);
    void SetMask(int x, int y, unsigned width, unsigned height, IXFImage* image, XFImageChannel channel);
    /// Each pointer may be null.
    void GetMask(IXFImage** image, XFImageChannel* channel) const;
    /// Default: all four values 0.0, alpha included.
    void SetDefaultColor(qzILColor const& color) { m_oDefaultColor = color; }
    qzILColor const& GetDefaultColor() const { return m_oDefaultColor; }

protected:
    /// The rectangles of one call. All but those of the input's own coordinates lie in output coordinates.
    struct Boxes {
        qzILBbox2l oInput;      ///< part of the output region that has input pixels
        qzILBbox2l oOutput;     ///< output region
        qzILBbox2l oMasked;     ///< part of the input box inside the mask rectangle and every input
        qzILBbox2l oCopy;       ///< same place as the input box
        qzILBbox2l oProcessed;  ///< what DoEffect has to process
    };
    /// An input of a call, and the view and buffer that PrepareRegion makes for it.
    struct Source {
        IXFImage* pImage;
        qzILVector2l oPlace;       ///< of its origin, in region coordinates
        qzILImageHelper* pHelper;  ///< null for an input that the effect reads in its own way
        IXFImage** ppBuffer;
        unsigned uAbsentCode;    ///< recorded when there is no image
        unsigned uNoPixelsCode;  ///< recorded when it has no pixels
    };

    /// Forms the boxes and views: all helpers are valid in output coordinates afterwards. The source `primary` decides
    /// which pixels exist; a source that is also the output, shifted and overlapping, is buffered. -1 with the code
    /// that Verify has for it when an image is absent, has no pixels or has another format than the output.
    qzILStatus PrepareRegion(std::span<Source const> sources, unsigned primary, qzILImageHelper& output,
                             qzILImageHelper& mask, qzILImageHelper& copy, Boxes& boxes);
    /// The code that an image has which cannot be split into planes since it does not hold its pixels, or 0.
    unsigned FindPlaneFault(std::span<Source const> sources) const;
    /// Fills what lies outside the input and copies what lies outside the mask rectangle.
    void FillAround(Boxes const& boxes, qzILImageHelper const& copy);
    /// Copies a rectangle into a new image of the same format.
    static qzILStatus BufferImage(IXFImage* image, IXFImage** buffer, qzILBbox2l const& rectangle);
    static void ReleaseBuffer(IXFImage** buffer);
    /// Turns the box height into the number of lines that the field bits keep.
    void AdjustProcessedRegionBbox(qzILBbox2l& box) const;
    qzil::Lines MaskLinesOf(qzILImageHelper const& mask, qzILBbox2l const& box) const;
    /// Fills the parts of a walk that do not depend on the inputs; false when an image is not laid out as the traits
    /// say.
    bool CompleteWalk(qzil::kernel::Walk& walk, qzILBbox2l const& box, qzil::kernel::RowTraits const& traits) const;
    /// Completes a walk and runs it.
    qzILStatus RunWalk(qzil::kernel::Walk& walk, qzILBbox2l const& box, qzil::kernel::RowTraits const& traits,
                       qzil::kernel::RowCall const& call) const;
    bool OutputHasFormatOf(std::span<GUID const> formats) const;
    /// 1 when the output's format is in a list, else 0x1000D.
    qzILStatus VerifyFormat(std::span<GUID const> formats);
    /// The lines of a call and the first input, whose format decides which form runs.
    struct Prepared;
    /// Sets up the walk over the processed box, but for what CompleteWalk adds; false where an effect has none.
    virtual bool Prepare(Prepared& prepared) const;
    /// Runs the form that an operation has for the images' format over the rule of the channel type T that
    /// `build(As<T>)` makes. Without a form it fails with a code.
    template <template <class> class Rule, class... T, class Build>
    requires(!std::is_integral_v<Build>) QZIL_HIDDEN qzILStatus
        Run(qzil::kernel::Operation<Rule, T...> const& operation, Build const& build, unsigned noForm = 0x1000D);
    /// The same for a rule without constants.
    template <template <class> class Rule, class... T>
    QZIL_HIDDEN qzILStatus Run(qzil::kernel::Operation<Rule, T...> const& operation, unsigned noForm = 0x1000D);
    /// Whether an operation has a form for the images' format.
    bool Has(qzil::kernel::Forms const& forms) const;
    /// The mask image is the output: allowed only when the input is too, at the same place, and the mask's channel is
    /// not processed. `offset` is the output offset in the input's coordinates.
    bool MaskMayBeOutput(IXFImage* input, qzILVector2l const& offset) const;
    /// Hands this effect's region, mask and default colour to another one that works in its place.
    void ShareSettings(qzILImgProc& other, unsigned mode) const;
    bool HasSplitPlanes() const;
    /// The form for the images' format and what is known of the call, or null.
    qzil::kernel::Form const* FindForm(qzil::kernel::Forms const& forms, Prepared const& prepared,
                                       qzil::kernel::Call& call) const;
    /// Calls act(form, As<T>) for the form of a prepared call and the channel type T of its rule.
    template <class... T, class Act>
    QZIL_HIDDEN qzILStatus WithForm(Prepared const& prepared, qzil::kernel::Forms const& forms, Act const& act,
                                    unsigned noForm);
    template <template <class> class Rule, class... T, class Build>
    QZIL_HIDDEN qzILStatus RunForms(Prepared& prepared, qzil::kernel::Forms const& forms, Build const& build,
                                    unsigned noForm);
    /// Runs a row function over a prepared call.
    virtual qzILStatus RunPrepared(Prepared& prepared, qzil::kernel::RowTraits const& traits,
                                   qzil::kernel::RowCall const& call) const;
    /// Takes the first n pixels off every line of a call.
    static void ShiftStarts(int n, std::initializer_list<qzil::Lines*> lines, qzILBbox2l& box);

private:
    /// What PrepareRegion works out, in region coordinates unless told otherwise.
    struct Region {
        qzILVector2l oDelta;   ///< to output coordinates
        qzILVector2l oBack;    ///< from output coordinates
        qzILBbox2l oWanted;    ///< the region in output coordinates, as the host asked for it
        qzILBbox2l oOutput;    ///< the same within the output
        qzILBbox2l oMaskRect;  ///< within the mask image
        qzILBbox2l oInput;
        qzILBbox2l oMasked;
    };
    /// Looks at every image once; the code that a missing or unsuitable one has, or 0.
    unsigned ViewImages(std::span<Source const> sources, qzILImageHelper& output, qzILImageHelper& mask) const;
    Region FormRegion(std::span<Source const> sources, unsigned primary) const;
    /// Views a source directly, or through a copy of the rectangle when the output would overwrite what is still to
    /// read; false without memory for that.
    bool ViewSource(Source const& source, qzILBbox2l const& rectangle, Region const& region,
                    qzILImageHelper& helper) const;
    bool FieldIsWhole(std::span<Source const> sources, Region const& region, qzILImageHelper const& output) const;

protected:
    IXFImage* m_pOutputImg;
    qzILColor m_oDefaultColor;
    IXFImage* m_pMaskImg;
    qzILBbox2l m_oMaskRect;
    XFImageChannel m_uMaskChannel;
    qzILBbox2l m_oRoi;
    qzILVector2l m_oOutputOffset;
    std::int32_t m_iFirstLineEven;
    std::int32_t m_iRoiSet;
};
