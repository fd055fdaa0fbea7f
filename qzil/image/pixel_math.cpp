#include "qzil/image/pixel_math.h"

namespace {

using Table = unsigned char[256][256];

struct Tables {
    Table oNormMult{};
    Table oInvNormMult{};
    Table oNormDiv{};
    Table oHue{};

    constexpr Tables() {
        for (int a = 0; a < 256; ++a) {
            for (int b = 0; b < 256; ++b) {
                int const product = (a * b + 127) / 255;
                oNormMult[a][b] = static_cast<unsigned char>(product);
                oInvNormMult[a][b] = static_cast<unsigned char>(a + b - product);
                oNormDiv[a][b] = b == 0 ? 0 : static_cast<unsigned char>(qzil::Min(255, (a * 255 + b / 2) / b));
                oHue[a][b] = b == 0 ? 0 : qzil::TruncateTo<unsigned char>(42.5 * a / b + 0.5, 0.0, 255.0);
            }
        }
    }
};

constexpr Tables s_oTables;

}  // namespace

unsigned char const (&ilNormMult)[256][256] = s_oTables.oNormMult;
unsigned char const (&ilInvNormMult)[256][256] = s_oTables.oInvNormMult;
unsigned char const (&ilNormDiv)[256][256] = s_oTables.oNormDiv;
unsigned char const (&ilHueTable)[256][256] = s_oTables.oHue;
