#pragma once

#include "qzil/spatial/edges.h"

/// One entry per direction and depth. Each adds its direction to the output, where of every sample the larger one
/// stays.
#define QZIL_DIRECTION_ENTRIES(Name)         \
    qzILStatus Name##E8() {                  \
        return Add(1);                       \
    }                                        \
    qzILStatus Name##NE8() {                 \
        return Add(2);                       \
    }                                        \
    qzILStatus Name##N8() {                  \
        return Add(4);                       \
    }                                        \
    qzILStatus Name##NW8() {                 \
        return Add(8);                       \
    }                                        \
    qzILStatus Name##W8() {                  \
        return Add(16);                      \
    }                                        \
    qzILStatus Name##SW8() {                 \
        return Add(32);                      \
    }                                        \
    qzILStatus Name##S8() {                  \
        return Add(64);                      \
    }                                        \
    qzILStatus Name##SE8() {                 \
        return Add(128);                     \
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
/// PrepareOutput writes 0, to which the entries for single directions add theirs.
/// Verify adds 0x10028 for directions outside 1 to 255.
class QZIL_API qzILGradientImg : public qzil::EdgeDetector {
    QZIL_EFFECT_CLASS(qzILGradientImg)
public:
    qzILGradientImg() { Init(); }

    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() { m_uDirections = 1; }
    QZIL_DIRECTION_ENTRIES(Gradient)

private:
    qzILStatus PrepareOutput() { return ClearOutput(); }
    qzILStatus Take(unsigned directions);
    qzILStatus Add(unsigned direction) {
        return AddToOutput([=, this] { return Take(direction); });
    }

    std::uint32_t m_uDirections;
};

/// The picture as a relief lit from one or more directions: the kernels of qzILGradientImg with the centre added,
/// limited to the channel. Directions as there.
class QZIL_API qzILEmbossImg : public qzil::Effect3x3 {
    QZIL_EFFECT_CLASS(qzILEmbossImg)
public:
    qzILEmbossImg() { Init(); }

    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() { m_uDirections = 1; }
    QZIL_DIRECTION_ENTRIES(Emboss)

private:
    qzILStatus PrepareOutput() { return ClearOutput(); }
    qzILStatus Take(unsigned directions);
    qzILStatus Add(unsigned direction) {
        return AddToOutput([=, this] { return Take(direction); });
    }

    std::uint32_t m_uDirections;
};

#undef QZIL_DIRECTION_ENTRIES
