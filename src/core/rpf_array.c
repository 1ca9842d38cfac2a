#include <rkcore/rpf_array.h>

#include <stdlib.h>

struct rpf_array {
    void **items;
    int32_t count;
    int32_t capacity;
};

rpf_array *rpf_array_new(void)
{
    return calloc(1, sizeof(rpf_array));
}

void rpf_array_free(rpf_array *array)
{
    if (array == NULL) return;
    free(array->items);
    free(array);
}

int rpf_array_append(rpf_array *array, void *value)
{
    enum { FIRST_CAPACITY = 8 };
    if (array == NULL || array->count == INT32_MAX) return -1;
    if (array->count == array->capacity) {
        int32_t capacity = array->capacity == 0              ? FIRST_CAPACITY
                           : array->capacity > INT32_MAX / 2 ? INT32_MAX
                                                             : array->capacity * 2;
        void **items = realloc(array->items, (size_t)capacity * sizeof *items);
        if (items == NULL) return -1;
        array->items = items;
        array->capacity = capacity;
    }
    array->items[array->count++] = value;
    return 0;
}

int32_t rpf_array_count(const rpf_array *array)
{
    return array == NULL ? 0 : array->count;
}

void *rpf_array_get(const rpf_array *array, int32_t index)
{
    if (array == NULL || index < 0 || index >= array->count) return NULL;
    return array->items[index];
}

int32_t _findIndexInCFArray(const rpf_array *array, const void *value) /* NOLINT(bugprone-reserved-identifier) */
{
    int32_t count = rpf_array_count(array);
    for (int32_t i = 0; i < count; ++i) {
        if (array->items[i] == value) return i;
    }
    return -1;
}
