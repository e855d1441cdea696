// BMP's numbers, shared by the reader and the writer: the 14-byte file
// header followed by the 40-byte info header, all fields little-endian.
#pragma once

namespace bmp {

constexpr int kDateiKopf = 14, kInfoKopf = 40, kKopf = kDateiKopf + kInfoKopf;
constexpr int kOffsetDateigroesse = 2, kOffsetDaten = 10, kOffsetInfogroesse = 14, kOffsetBreite = 18,
              kOffsetHoehe = 22, kOffsetPlanes = 26, kOffsetBits = 28, kOffsetKompression = 30,
              kOffsetBildgroesse = 34, kOffsetXAufloesung = 38, kOffsetYAufloesung = 42, kOffsetFarben = 46;

}  // namespace bmp
