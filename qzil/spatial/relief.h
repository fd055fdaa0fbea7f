#pragma once

#include "qzil/spatial/edges.h"

/// One entry per direction and depth. Each takes its direction into the output, where the largest result stays.
#define QZIL_DIRECTION_ENTRIES(Name)         \
    qzILStatus Name##E8() {                  \
        return AddDirections(1);             \
    }                                        \
    qzILStatus Name##NE8() {                 \
        return AddDirections(2);             \
    }                                        \
    qzILStatus Name##N8() {                  \
        return AddDirections(4);             \
    }                                        \
    qzILStatus Name##NW8() {                 \
        return AddDirections(8);             \
    }                                        \
    qzILStatus Name##W8() {                  \
        return AddDirections(16);            \
    }                                        \
    qzILStatus Name##SW8() {                 \
        return AddDirections(32);            \
    }                                        \
    qzILStatus Name##S8() {                  \
        return AddDirections(64);            \
    }                                        \
    qzILStatus Name##SE8() {                 \
        return AddDirections(128);           \
    }                                        \
    qzILStatus Name##E16() {                 \
        return Name##E8();                   \
    }                                        \
    qzILStatus Name##NE16() {                \
        return Name##NE8();                  \
    }                                        \
    qzILStatus Name##N16() {                 \
        return Name##N8();                   \
    }                                        \
    qzILStatus Name##NW16() {                \
        return Name##NW8();                  \
    }                                        \
    qzILStatus Name##W16() {                 \
        return Name##W8();                   \
    }                                        \
    qzILStatus Name##SW16() {                \
        return Name##SW8();                  \
    }                                        \
    qzILStatus Name##S16() {                 \
        return Name##S8();                   \
    }                                        \
    qzILStatus Name##SE16() {                \
        return Name##SE8();                  \
    }                                        \
    qzILStatus PrepareOutput8() {            \
        return PrepareOutput();              \
    }                                        \
    qzILStatus PrepareOutput16() {           \
        return PrepareOutput();              \
    }                                        \
    void SetDirection(unsigned directions) { \
        m_uDirections = directions;          \
    }                                        \
    unsigned GetDirection() const {          \
        return m_uDirections;                \
    }

/// Differences in up to eight directions, of which the largest counts: bits 1, 2, 4 to 128 for E, NE, N, NW, W, SW, S,
/// SE; 1 at first. North has the smaller weights on the lines of lower y. A sensitivity of exactly 0 clears the output.
/// Verify adds 0x10028 for directions outside 1 to 255.
class QZIL_API qzILGradientImg : public qzil::EdgeDetector {
    QZIL_EFFECT_CLASS(qzILGradientImg)
public:
    qzILGradientImg() { Init(); }

    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init();
    QZIL_DIRECTION_ENTRIES(Gradient)

private:
    qzILStatus PrepareOutput();
    qzILStatus AddDirections(unsigned directions);

    std::uint32_t m_uDirections;
    std::uint32_t m_uDone;  ///< directions that the output holds already
};

/// The picture as a relief lit from one or more directions: the kernels of qzILGradientImg with the centre added,
/// limited to the channel. Directions as there.
class QZIL_API qzILEmbossImg : public qzil::Effect3x3 {
    QZIL_EFFECT_CLASS(qzILEmbossImg)
public:
    qzILEmbossImg() { Init(); }

    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init();
    QZIL_DIRECTION_ENTRIES(Emboss)

private:
    qzILStatus PrepareOutput();
    qzILStatus AddDirections(unsigned directions);

    std::uint32_t m_uDirections;
    std::uint32_t m_uDone;
};

#undef QZIL_DIRECTION_ENTRIES
