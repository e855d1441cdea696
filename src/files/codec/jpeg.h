// Baseline JPEG decoder (sequential DCT, 8-bit samples, Huffman coding) for
// JPEG inside TIFF: the compressed bytes of one strip or tile in, rows out.
// The library reads no JPEG files of its own; this serves the TIFF reader.
#pragma once
#include <cstddef>
#include <cstdint>

namespace bild {

// Decodes one JPEG stream (one TIFF strip or tile: SOI ... EOI) into `hoehe`
// rows of `breite` pixels of `kanaele` bytes (1 gray, 3 colour) at ziel,
// `zeilenbytes` apart.
//
// `tabellen`/`ntabellen` is TIFF's JPEGTables field (an abbreviated stream
// SOI, DQT/DHT..., EOI), read before the stream (may be null/0); tables in the
// stream itself replace them.
//
// The frame may be larger than breite x hoehe (a tile overhanging the image,
// a strip of a full rows-per-strip): only the part asked for is written, and
// MCU rows below it are not decoded, except the one MCU row whose first chroma
// row the smooth vertical upsampling of the last row asked for reads.
//
// ycbcr: three components are YCbCr and are converted to RGB (as JFIF does,
// fixed point, rounded like common decoders); false: the three components are
// R, G, B as stored. One component gives gray. Subsampled chroma is upsampled
// with the triangle filter (3/4 nearer + 1/4 farther sample).
//
// Returns 0 done; 3 damaged (bad or missing marker/table, Huffman data that
// cannot be decoded or ends before the rows asked for, a frame smaller than
// breite x hoehe or with a component count that does not match kanaele);
// 12 a kind not read here: progressive, lossless, hierarchical, arithmetic
// coding, 12-bit precision, 2 or 4 components, a frame whose height is given
// later (DNL), components spread over several scans, sampling other than luma
// 1x1, 2x1, 2x2, 1x2 with chroma 1x1.
// *zeilen_fertig (may be null) gets the rows of the region written completely.
int jpeg_entpacken(const unsigned char* tabellen, size_t ntabellen, const unsigned char* quelle, size_t n,
                   bool ycbcr, unsigned char* ziel, size_t zeilenbytes, uint32_t breite, uint32_t hoehe,
                   int kanaele, uint32_t* zeilen_fertig);

// An 8x8 block costs at least two bits (a DC code and end-of-block) and
// carries 64 samples; with 2x2 chroma subsampling 6 blocks carry 256 pixels of
// 3 bytes: 768 bytes from at least 12 bits.
constexpr uint64_t kJpegAusdehnung = 512;

}  // namespace bild
