// Code-page conversion: a stand-in, which an integrator can replace at link time.
#ifndef DERKIT_CONVI_H
#define DERKIT_CONVI_H

// Code pages of convi.
enum convi_page_t : unsigned int {
    CONVI_UCS2_BE = 2, // two bytes a character, most significant first
    CONVI_UCS4_BE = 4, // four bytes a character, most significant first
    CONVI_UTF8 = 6
};

// Converts UCS-2 or UCS-4 text to UTF-8.
//
// Text converts when it is not empty, consists of whole characters and holds neither surrogates nor values above
// U+10FFFF, and when its output fits 32 bits.
class convi {
  public:
    convi(unsigned int from, unsigned int to);

    // Returns the exact number of output bytes, or 0 when the text does not convert or the pair of pages is not
    // supported.
    unsigned int get_outsize(const void* in, unsigned int size) const;

    // Writes the output and returns its number of bytes, or 0 when get_outsize() returns 0 or `room` is too small; then
    // `out` may hold a part of the output.
    unsigned int convert_safe(const void* in, unsigned int size, char* out, unsigned int room) const;

  private:
    unsigned int width_; // bytes of an input character; 0 for an unsupported pair
};

#endif
