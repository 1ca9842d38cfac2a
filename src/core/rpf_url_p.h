/* Private helpers shared by the URL record, its parsers and its text forms.
 * Not installed. */
#ifndef RKCORE_RPF_URL_P_H
#define RKCORE_RPF_URL_P_H

#include <rkcore/rpf_url.h>

#include <stddef.h>

#include "rpf_pack_p.h"

/* Frees the record's texts and clears every field, leaving the block itself. */
void rpf_url_clear(rpf_url *url);

/* rpf_url_dealloc, its packed releases going through `batch` (may be null). */
void rpf_url_dealloc_batched(rpf_url *url, rpf_pack_batch *batch);

/* Replaces *field with `text` (which may be null), freeing the old text. */
void rpf_url_store(char **field, char *text);

/* The decimal number at the start of the `length` bytes at `text`, read as
 * atoi reads it (leading blanks, a sign, digits up to the first other
 * character) but never beyond `length` and clamped to the 32-bit range; 0 when
 * there is no number. */
int32_t rpf_url_decimal(const char *text, size_t length);

#endif
