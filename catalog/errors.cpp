#include "catalog/catalog.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace qzil::catalog {

namespace {

struct Row {
    unsigned uCode;
    char const* pText;
};

constexpr Row kRows[] = {
    {0x10001, "there is not enough memory for an intermediate image; use a smaller region"},
    {0x10002, "no output image is set; give it one"},
    {0x10003, "the output image has no pixels; allocate it first"},
    {0x10005, "the mask image has no pixels, or the mask that this effect needs is absent; give it a mask"},
    {0x10006, "the mask image and the mask rectangle differ in size; make the rectangle as large as the mask"},
    {0x10007,
     "the mask image has a format that masks cannot have; use RGBA or mono of 8 bits, 16 bits, S2.14 or float"},
    {0x10008, "the mask channel does not exist in the mask image; use channel 1, 2, 4 or 8 of RGBA, 16 of mono"},
    {0x10009, "the mask and the output differ in channel size; convert the mask to the output's depth"},
    {0x1000A,
     "the region does not fit into the output at the output offset; make the region smaller or the output larger"},
    {0x1000B, "no input image is set; give it one"},
    {0x1000C, "the input image has no pixels; allocate it first"},
    {0x1000D, "the image format is not one that this effect works in; choose one of its formats"},
    {0x1000E, "input and output images have different formats; convert them to one format"},
    {0x1000F, "the type of interpolation is not one that this effect knows; choose one of its types"},
    {0x10012, "an alpha lies outside 0 to 1; choose one within"},
    {0x10013, "the first input image is not set; give it one"},
    {0x10014, "the second input image is not set; give it one"},
    {0x10015, "the first input image has no pixels; allocate it first"},
    {0x10016, "the second input image has no pixels; allocate it first"},
    {0x10017, "the dominant input is neither of the two inputs; choose a or b"},
    {0x10018, "a look-up table is absent; set one for every channel in the depth of the image"},
    {0x1001C, "a threshold lies outside 0 to 1; choose one within"},
    {0x10020, "the edge mode is not one of color (1), wrap (2), extend (3) and mirror (4); choose one of them"},
    {0x10021, "no kernel is set; give it one"},
    {0x10023, "a radius lies outside 0 to 1073741824.9; choose one within"},
    {0x10024, "the type is not one that blurs; choose one of 1 to 7"},
    {0x10025, "the type is not one of normal (1) and edge (2); choose one of them"},
    {0x10026, "the degree or presence lies outside 0 to 1; choose one within"},
    {0x10027, "the type is not one of four (1) and eight (2); choose one of them"},
    {0x10028, "no direction is set, or one beyond 128; choose from 1 to 255"},
    {0x10029, "the bias lies outside 0 to 1; choose one within"},
    {0x1002A, "the edge sensitivity lies outside 0 to 1; choose one within"},
    {0x10033, "input and output are one image, which no conversion can work in; use a separate output"},
    {0x10034, "the image format is not one that this effect works in; choose one of its formats"},
    {0x10035, "the channel is not one that can be taken; use 1, 2, 4 or 8, or 15 to insert into all"},
    {0x1003C, "both outputs are one image; use two"},
    {0x1003D, "the images differ in size; use images of one size"},
    {0x1003E, "the type is not one of linear (1), radial (2) and square (3); choose one of them"},
    {0x1003F, "the vector has no length, or spans fewer than two pixels of a square gradient; make it longer"},
    {0x10045, "the ratio is not above 0; choose one from 0.01 to 100"},
    {0x10046, "a threshold lies outside 0 to 1, or the minimum above the maximum; choose 0 to 1, in order"},
    {0x10047, "the stops fall, or lie outside 0 to 99 per cent; let them rise from 0 to 99"},
    {0x10049, "the type is not one of magnitude (1) and angle (2); choose one of them"},
    {0x10059, "this effect needs a mask; give it one"},
    {0x1005A, "the alpha mode is not one of zero (1), full (2) and derived (3); choose one of them"},
    {0x10060,
     "the region divides a pair of pixels or a field of this video format; use even columns and widths, or the "
     "whole image of a split-field format"},
    {0x10061, "the inputs of a split-field format may not be offset; set the input offset to 0,0"},
    {0x10062, "the inputs and the output of a split-field format must have one size; use images of the same size"},
    {0x1006B, "the colour model does not suit the format; leave it to the format, or choose that of its matrix"},
    {0x1006C, "the mask is the output image; use a separate image, or a channel that is not processed in place"},
    {0x1006D, "the opacity lies outside 0 to 1; choose one within"},
    {0x10075, "the effect makes whole pictures; leave the field out"},
    {0x20001, "a mask, or a mask rectangle that clips the region, is not possible in a video format; leave it out"},
    {0x20002,
     "the channels cannot be selected like that in this format, or a parameter of a keyer is out of its range; select "
     "all of 1, 2 and 4 (7), alone alpha (8) or everything (15), and choose a value within"},
};

}  // namespace

std::string ErrorSentence(Entry const& entry, qzILError error) {
    unsigned const code = error.GetErrorCode();
    char number[16];
    std::snprintf(number, sizeof number, "0x%X", code);
    auto const* const pRow =
        std::find_if(std::begin(kRows), std::end(kRows), [code](Row const& r) { return r.uCode == code; });
    if (code == 0)
        return entry.sName + ": the effect failed without a reason; check the format and size of its images.";
    if (pRow == std::end(kRows)) {
        return entry.sName + ": the effect failed with error " + number + "; check its parameters and images.";
    }
    std::string text = pRow->pText;
    if (code == 0x20001 && entry.bRefusesMask && entry.oPairs.empty()) {
        text = "the effect works on whole images; leave the mask and the region out";
    }
    if (code == 0x1000B && entry.RequiredInputs() < entry.oInputs.size()) {
        text = "an image that it needs with these parameters is not set; give it";
        for (Port const& port : entry.oInputs) text += (&port == entry.oInputs.data() ? " " : ", ") + port.sName;
    }
    return entry.sName + ": " + text + " (error " + number + ").";
}

}  // namespace qzil::catalog
