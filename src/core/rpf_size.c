#include <rkcore/rpf_size.h>

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* snprintf into a buffer of `size` bytes with a write limit of `limit` bytes
 * (terminator included); the limit cuts the text by design. */
static char *limited_text(size_t size, size_t limit, const char *format, ...) __attribute__((format(printf, 3, 4)));

static char *limited_text(size_t size, size_t limit, const char *format, ...)
{
    char *text = malloc(size);
    if (text == NULL) return NULL;
    va_list args;
    va_start(args, format);
    (void)vsnprintf(text, limit, format, args);
    va_end(args);
    return text;
}

char *rpf_utility_format_size(int32_t n)
{
    const char *unit = "";
    int32_t number = n;
    if (n < 1024) {
        unit = "";
        number = n;
    } else if (n < 1024000) {
        unit = "k";
        number = n >> 10;
    } else if (n < 1024000000) {
        unit = "MB";
        number = n / 1024000;
    } else {
        unit = "GB";
        number = n / 1024000000;
    }
    size_t unit_length = strlen(unit);
    return limited_text(unit_length + 6, unit_length + 5, "%d %s", (int)number, unit);
}

char *format_size(uint32_t low, uint32_t high)
{
    uint64_t size = ((uint64_t)high << 32) | low;
    uint32_t whole = 0;
    uint32_t remainder = 0;
    const char *unit = "";
    if (high == 0 && low < 1024U) {
        whole = low;
        remainder = 0;
        unit = "";
    } else if (high == 0 && low < (1U << 20)) {
        whole = (uint32_t)(size >> 10);
        remainder = (low % 1024U) / 100U;
        unit = "KB";
    } else if (high == 0 && low < (1U << 30)) {
        whole = (uint32_t)(size >> 20);
        remainder = (low % (1U << 20)) / 1000U;
        unit = "MB";
    } else if (high <= 255U) {
        whole = (uint32_t)(size >> 30);
        remainder = (low % (1U << 30)) / 10000000U;
        unit = "GB";
    } else {
        whole = high >> 8;
        remainder = (uint32_t)((size % (UINT64_C(1) << 40)) / 1000000000U);
        unit = "TB";
    }
    size_t unit_length = strlen(unit);
    if (remainder >= 5) {
        return limited_text(unit_length + 9, unit_length + 8, "%u.%u%s", whole, remainder, unit);
    }
    return limited_text(unit_length + 5, unit_length + 4, "%u%s", whole, unit);
}

char *_format_size(uint32_t low, uint32_t high) /* NOLINT(bugprone-reserved-identifier) */
{
    return format_size(low, high);
}
