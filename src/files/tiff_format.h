// TIFF's numbers, shared by the reader and the writer: tags, field types,
// compressions, and the fixed layout our writer produces.
#pragma once
#include <cstdint>

namespace tiff {

enum Tag : uint16_t {
    NewSubfileType = 254,
    ImageWidth = 256,
    ImageLength = 257,
    BitsPerSample = 258,
    Compression = 259,
    Photometric = 262,
    FillOrder = 266,
    StripOffsets = 273,
    SamplesPerPixel = 277,
    RowsPerStrip = 278,
    StripByteCounts = 279,
    MinSampleValue = 280,
    MaxSampleValue = 281,
    XResolution = 282,
    YResolution = 283,
    PlanarConfiguration = 284,
    T4Options = 292,
    T6Options = 293,
    ResolutionUnit = 296,
    Predictor = 317,
    ColorMap = 320,
    TileWidth = 322,
    TileLength = 323,
    TileOffsets = 324,
    TileByteCounts = 325,
    InkSet = 332,
    SampleFormat = 339,
    JpegTables = 347,
};

enum Typ : uint16_t { Byte = 1, Ascii = 2, Short = 3, Long = 4, Rational = 5, Undefined = 7, Long8 = 16 };

enum Kompression : uint32_t {
    Keine = 1,
    CcittMh = 2,
    CcittG3 = 3,
    CcittG4 = 4,
    Lzw = 5,
    JpegAlt = 6,
    Jpeg = 7,
    Deflate = 8,
    PackBits = 32773,
    DeflateAlt = 32946
};

enum PhotometricWert : uint32_t { WhiteIsZero = 0, BlackIsZero = 1, Rgb = 2, Palette = 3, Cmyk = 5, YCbCr = 6 };

// Our writer: one directory at 8 with exactly these entries in this order;
// the pixel rows start at 222 + 8n for n strips, except that a single strip
// starts at 222 while its StripOffsets says 222 + 8.
constexpr Tag kEigeneTags[16] = {NewSubfileType, ImageWidth,      ImageLength,   BitsPerSample,
                                 Compression,    Photometric,     StripOffsets,  SamplesPerPixel,
                                 RowsPerStrip,   StripByteCounts, MinSampleValue, MaxSampleValue,
                                 XResolution,    YResolution,     PlanarConfiguration, ResolutionUnit};
constexpr uint32_t kEigenerKopf = 222;
constexpr uint32_t kEigeneStreifenhoehe = 20;

}  // namespace tiff
