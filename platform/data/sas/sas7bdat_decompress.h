// The two compressions of .sas7bdat rows. Each compressed row is one
// subheader, decompressed alone into exactly the row length.
//
// RLE (SASYZCRL): a control byte, its high four bits the command and its
// low four bits (L) part of a count, sometimes with a next byte (B):
//   0  copy (L<<8)+B+64 bytes         8  copy L+1 bytes
//   1  copy (L<<8)+B+4160 bytes       9  copy L+17 bytes
//   2  copy L+96 bytes                A  copy L+33 bytes
//   3  (none)                         B  copy L+49 bytes
//   4  (L<<8)+B+18 times the byte after B    C  L+3 times the next byte
//   5  (L<<8)+B+17 times '@'          D  L+2 times '@'
//   6  (L<<8)+B+17 blanks             E  L+2 blanks
//   7  (L<<8)+B+17 zero bytes         F  L+2 zero bytes
// "Copy" takes that many literal bytes from after the control.
//
// RDC (SASYZCR2): a 16-bit control word (first byte high), read from its
// top bit, says of each of the next 16 items whether it is a literal byte
// (0) or a command (1). A command's first byte holds C (high four bits)
// and L (low four bits):
//   C 0      L+3 times the next byte
//   C 1      L+(B<<4)+19 times the byte after B
//   C 2      copy B2+16 bytes from L+(B<<4)+3 bytes back
//   C 3-15   copy C bytes from L+(B<<4)+3 bytes back
// A copy may overlap what it writes, repeating a short pattern.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>

namespace codebook::data::sas {

// What is wrong with a compressed row, e.g. "a run of 20 bytes at byte 4
// goes past the row's end".
class DecompressError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Fill `row` from `packed`, or throw DecompressError: a command the
// algorithm does not have, input that ends inside a command, output past
// the row's end, a copy from before its start, or fewer bytes than the row.
void DecompressRle(std::span<const std::uint8_t> packed, std::span<std::uint8_t> row);
void DecompressRdc(std::span<const std::uint8_t> packed, std::span<std::uint8_t> row);

}  // namespace codebook::data::sas
