#include "rpf_strings_p.h"

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

char *rpf_copy_range(const char *text, size_t length)
{
    if (length == SIZE_MAX) return NULL;
    char *copy = malloc(length + 1);
    if (copy == NULL) return NULL;
    if (length > 0) memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

char *rpf_concat(const char *a, const char *b, const char *c)
{
    size_t la = strlen(a), lb = strlen(b), lc = strlen(c);
    if (lb > SIZE_MAX - 1 - la || lc > SIZE_MAX - 1 - la - lb) return NULL;
    char *text = malloc(la + lb + lc + 1);
    if (text == NULL) return NULL;
    memcpy(text, a, la);
    memcpy(text + la, b, lb);
    memcpy(text + la + lb, c, lc + 1);
    return text;
}

char *rpf_format(const char *format, ...)
{
    /* Most texts fit a small buffer: formatted once, then copied; a longer
     * one is formatted a second time into its own buffer. */
    char small[256];
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(small, sizeof small, format, args);
    va_end(args);
    char *text = length < 0 ? NULL : malloc((size_t)length + 1);
    if (text != NULL && (size_t)length < sizeof small) {
        memcpy(text, small, (size_t)length + 1);
    } else if (text != NULL) {
        (void)vsnprintf(text, (size_t)length + 1, format, again);
    }
    va_end(again);
    return text;
}
