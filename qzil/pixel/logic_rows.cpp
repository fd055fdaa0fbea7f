#include "qzil/pixel/logic_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

template <class T, class Rule>
QZIL_INLINE void Combine(Row const& row, PixelValues const& c, Rule rule) {
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    ForEach(row.iPixels * c.iValues, [=](int i) { out[i] = static_cast<T>(rule(a[i], b[i])); });
}

void And(Row const& row, PixelValues const& c) {
    Combine<u8>(row, c, [](u8 a, u8 b) { return a & b; });
}

void Or(Row const& row, PixelValues const& c) {
    Combine<u8>(row, c, [](u8 a, u8 b) { return a | b; });
}

void XOr(Row const& row, PixelValues const& c) {
    Combine<u8>(row, c, [](u8 a, u8 b) { return a ^ b; });
}

template <class T>
void Distance(Row const& row, PixelValues const& c) {
    Combine<T>(row, c, [](T a, T b) { return Max(a, b) - Min(a, b); });
}

template <class T>
void Larger(Row const& row, PixelValues const& c) {
    Combine<T>(row, c, [](T a, T b) { return Max(a, b); });
}

template <class T>
void Smaller(Row const& row, PixelValues const& c) {
    Combine<T>(row, c, [](T a, T b) { return Min(a, b); });
}

template <class Rule>
QZIL_INLINE void WithOperand(Row const& row, OperandWords const& c, Rule rule) {
    u8* const out = Out<u8>(row.pOut);
    u8 const* const in = In<u8>(row.pA);
    Lanes<u16> const operand(c.aWords);
    u8 const* const bytes = reinterpret_cast<u8 const*>(operand.aValues);
    ForLanes(row.iPixels * c.iPixelBytes, [=](int i, int lane) { out[i] = static_cast<u8>(rule(in[i], bytes[lane])); });
}

void MonadicAnd(Row const& row, OperandWords const& c) {
    WithOperand(row, c, [](u8 v, u8 operand) { return v & operand; });
}

void MonadicOr(Row const& row, OperandWords const& c) {
    WithOperand(row, c, [](u8 v, u8 operand) { return v | operand; });
}

}  // namespace

LogicRows const g_oLogicRows{
    And,         Or,          XOr,          Distance<u8>, Distance<u16>, Larger<u8>,
    Larger<u16>, Smaller<u8>, Smaller<u16>, MonadicAnd,   MonadicOr,
};

QZIL_ROWS_END
