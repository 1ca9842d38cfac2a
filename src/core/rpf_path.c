#include <rkcore/rpf_path.h>

#include <stdlib.h>
#include <string.h>

#include "rpf_strings_p.h"

/* The one text the parent functions hand out without allocating it. */
static char root_path[] = "/";

static int is_trailing_blank(char c)
{
    return c == ' ' || c == '\r' || c == '\n';
}

static int is_root(const char *path)
{
    return path[0] == '/' && path[1] == '\0';
}

/* Index of the last "/" at or before `from`, or -1. */
static ptrdiff_t last_separator(const char *path, ptrdiff_t from)
{
    for (ptrdiff_t i = from; i >= 0; --i) {
        if (path[i] == '/') return i;
    }
    return -1;
}

unsigned int rpf_utility_front_spaces(const char *text)
{
    unsigned int count = 0;
    if (text == NULL) return 0;
    while (text[count] == ' ')
        ++count;
    return count;
}

/* Length of `text` without its trailing space/CR/LF run. */
static size_t trimmed_length(const char *text)
{
    size_t length = strlen(text);
    while (length > 0 && is_trailing_blank(text[length - 1]))
        --length;
    return length;
}

unsigned int rpf_string_back_spaces(const char *text)
{
    if (text == NULL) return 0;
    return (unsigned int)(strlen(text) - trimmed_length(text));
}

char *rpf_utility_despace_string(const char *text)
{
    if (text == NULL) return NULL;
    size_t front = rpf_utility_front_spaces(text);
    size_t end = trimmed_length(text);
    return rpf_copy_range(text + front, end > front ? end - front : 0);
}

void *Malloc(size_t size)
{
    return malloc(size);
}

int rpf_path_is_absolute(const char *path)
{
    return path != NULL && path[0] == '/';
}

char *rpf_path_by_appending_item(const char *dir, const char *item)
{
    if (dir == NULL || item == NULL) return NULL;
    if (is_root(dir)) return rpf_concat("/", item, "");
    size_t length = strlen(dir);
    if (length > 0 && dir[length - 1] == '/') return rpf_concat(dir, item, "");
    return rpf_concat(dir, "/", item);
}

char *rpf_parent_of_path(const char *path)
{
    if (path == NULL) return NULL;
    if (is_root(path)) return root_path;
    ptrdiff_t last = (ptrdiff_t)strlen(path) - 1;
    if (last >= 0 && path[last] == '/') --last;
    ptrdiff_t separator = last_separator(path, last);
    if (separator < 0) return rpf_copy_range(path, 0);
    /* The prefix includes the separator; only a bare "/" keeps it. */
    return rpf_copy_range(path, separator == 0 ? 1 : (size_t)separator);
}

char *rpf_path_without_last_component(const char *path)
{
    if (path == NULL) return NULL;
    if (is_root(path)) return root_path;
    ptrdiff_t separator = last_separator(path, (ptrdiff_t)strlen(path) - 1);
    return rpf_copy_range(path, separator < 0 ? 0 : (size_t)separator);
}

char *experimental_rpf_path_without_last_component(const char *path)
{
    if (path == NULL) return NULL;
    ptrdiff_t separator = last_separator(path, (ptrdiff_t)strlen(path) - 1);
    if (separator == 0) return rpf_copy_range("/", 1);
    return rpf_copy_range(path, separator < 0 ? 0 : (size_t)separator);
}

char *rpf_path_last_component(const char *path)
{
    if (path == NULL) return NULL;
    size_t length = strlen(path);
    ptrdiff_t separator = last_separator(path, (ptrdiff_t)length - 1);
    size_t start = (size_t)(separator + 1);
    return rpf_copy_range(path + start, length - start);
}

int rpf_string_get_extension_with_known_length(const char *name, char **destination, size_t size)
{
    if (name == NULL || destination == NULL || *destination == NULL || size == 0) return 0;
    size_t length = trimmed_length(name);
    size_t extension_length = size - 1;
    if (extension_length >= length || name[length - extension_length - 1] != '.') return 0;
    memcpy(*destination, name + length - extension_length, extension_length);
    (*destination)[extension_length] = '\0';
    return 1;
}

char *rpf_string_get_extension(const char *name)
{
    if (name == NULL) return NULL;
    size_t length = trimmed_length(name);
    /* Index 0 is never examined: a leading dot marks a hidden name, not an extension. */
    size_t dot = length;
    for (size_t i = length; i-- > 1;) {
        if (name[i] == '.') {
            dot = i;
            break;
        }
    }
    if (dot == length) return NULL;
    size_t size = length - dot; /* the extension's characters plus the terminator */
    char *extension = malloc(size);
    if (extension == NULL) return NULL;
    if (!rpf_string_get_extension_with_known_length(name, &extension, size)) {
        free(extension);
        return NULL;
    }
    return extension;
}

void rpf_path_free(char *path)
{
    if (path != root_path) free(path);
}
