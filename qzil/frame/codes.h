#pragma once

/// The reasons that an effect gives in GetLastError, by name. From 0x10000 on they are fatal, from 0x20000 on warnings,
/// which stop the effect, too. Numbers are shared by effects whose parameters have nothing else in common.
namespace qzil::Code {

inline constexpr unsigned None = 0;  ///< a failure that deliberately records no reason
inline constexpr unsigned OutOfMemory = 0x10001;
inline constexpr unsigned NoOutput = 0x10002;
inline constexpr unsigned OutputPixels = 0x10003;  ///< the output has no pixels, or its memory does not hold them
inline constexpr unsigned MaskPixels = 0x10005;    ///< the same of the mask, or a mask that is needed is absent
inline constexpr unsigned MaskSize = 0x10006;      ///< mask and mask rectangle differ in size
inline constexpr unsigned MaskFormat = 0x10007;
inline constexpr unsigned MaskChannel = 0x10008;
inline constexpr unsigned MaskDepth = 0x10009;  ///< mask and output differ in channel size
inline constexpr unsigned Region = 0x1000A;     ///< the region, or a crop box, leaves the image
inline constexpr unsigned NoInput = 0x1000B;
inline constexpr unsigned InputPixels = 0x1000C;
inline constexpr unsigned Format = 0x1000D;         ///< the effect does not work in this format
inline constexpr unsigned FormatsDiffer = 0x1000E;  ///< input and output, or the two inputs
inline constexpr unsigned Interpolation = 0x1000F;  ///< a type of interpolation or deinterlacing
inline constexpr unsigned LiftOrGain = 0x10011;     ///< of chroma replacement
inline constexpr unsigned Alpha = 0x10012;          ///< a share outside 0 to 1
inline constexpr unsigned NoInputA = 0x10013;
inline constexpr unsigned NoInputB = 0x10014;
inline constexpr unsigned InputAPixels = 0x10015;
inline constexpr unsigned InputBPixels = 0x10016;
inline constexpr unsigned Dominant = 0x10017;  ///< the dominant input is neither of the two
inline constexpr unsigned Table = 0x10018;     ///< a look-up table is absent
inline constexpr unsigned Threshold = 0x1001C;
inline constexpr unsigned EdgeMode = 0x10020;
inline constexpr unsigned Kernel = 0x10021;
inline constexpr unsigned Radius = 0x10023;
inline constexpr unsigned BlurType = 0x10024;
inline constexpr unsigned SharpenType = 0x10025;
inline constexpr unsigned Degree = 0x10026;
inline constexpr unsigned Neighbours = 0x10027;  ///< four or eight
inline constexpr unsigned Direction = 0x10028;
inline constexpr unsigned Bias = 0x10029;
inline constexpr unsigned EdgeSensitivity = 0x1002A;
inline constexpr unsigned SameImage = 0x10033;    ///< a conversion in place
inline constexpr unsigned InputFormat = 0x10034;  ///< the operation does not read this format
inline constexpr unsigned Channel = 0x10035;
inline constexpr unsigned SameOutputs = 0x1003C;  ///< two outputs are one image
inline constexpr unsigned SizesDiffer = 0x1003D;  ///< of images that are to be alike
inline constexpr unsigned GradeType = 0x1003E;
inline constexpr unsigned GradeVector = 0x1003F;
inline constexpr unsigned GradeRatio = 0x10045;
inline constexpr unsigned MotionThreshold = 0x10046;
inline constexpr unsigned GradeStops = 0x10047;
inline constexpr unsigned EdgeType = 0x10049;  ///< magnitude or angle
inline constexpr unsigned NeedsMask = 0x10059;
inline constexpr unsigned AlphaMode = 0x1005A;
inline constexpr unsigned PairAlignment = 0x10060;  ///< the region divides a 4:2:2 pair or a field
inline constexpr unsigned SplitFieldOffset = 0x10061;
inline constexpr unsigned SplitFieldSize = 0x10062;
inline constexpr unsigned ColorModel = 0x1006B;
inline constexpr unsigned MaskIsOutput = 0x1006C;
inline constexpr unsigned Opacity = 0x1006D;
inline constexpr unsigned TimeMap = 0x10074;      ///< a wipe's pattern is absent or of another size
inline constexpr unsigned FieldBits = 0x10075;    ///< the effect makes whole pictures
inline constexpr unsigned RegionShape = 0x20001;  ///< warning: a mask or a clipped region that is not possible here
inline constexpr unsigned ChannelSelection = 0x20002;  ///< warning: the mode asks for something the format cannot do
inline constexpr unsigned KeyerSetting = 0x20002;      ///< warning: a parameter of a keyer is out of its range

}  // namespace qzil::Code
