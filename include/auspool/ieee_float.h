/* ieee_float: conversions between a double and the bytes of IEEE 754 numbers, most significant byte first, whatever the
 * processor's own format. AIFF files hold their sample rate as such an 80-bit number.
 *
 *   #include <auspool/ieee_float.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     uint8_t rate[10];
 *     ConvertToIeeeExtended(rate, 44100.0);  // 40 0E AC 44 00 00 00 00 00 00
 *     printf("%.0f Hz\n", ConvertFromIeeeExtended(rate));
 *     return 0;
 *   }
 *
 * Conventions
 * - The widths are 4 bytes (single), 8 (double) and 10 (extended, with an explicit leading bit).
 * - Writing: zero of either sign gives zero bytes; bits that do not fit are cut off, not rounded; what is too large,
 * and NaN, gives infinity (with the sign of the value; NaN gives plus); what is too small for a normal number gives a
 * denormal one.
 * - Reading: every number with the largest exponent gives infinity, NaNs included. What a double cannot hold becomes
 * infinity or zero.
 * - No state; any thread, real-time ones too.
 */
#ifndef AUSPOOL_IEEE_FLOAT_H
#define AUSPOOL_IEEE_FLOAT_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

AUSPOOL_API void ConvertToIeeeSingle(uint8_t bytes[4], double value);
AUSPOOL_API void ConvertToIeeeDouble(uint8_t bytes[8], double value);
AUSPOOL_API void ConvertToIeeeExtended(uint8_t bytes[10], double value);

AUSPOOL_API double ConvertFromIeeeSingle(const uint8_t bytes[4]);
AUSPOOL_API double ConvertFromIeeeDouble(const uint8_t bytes[8]);
AUSPOOL_API double ConvertFromIeeeExtended(const uint8_t bytes[10]);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_IEEE_FLOAT_H */
