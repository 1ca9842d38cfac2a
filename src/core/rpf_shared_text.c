#include <pthread.h>
#include <stdatomic.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "rpf_shared_text_p.h"

/* The text lives right after its use count, so a retain needs no lookup. */
typedef struct shared_text {
    atomic_size_t uses;
    char text[];
} shared_text;

/* Open-addressing set of the shared texts' addresses (linear probing,
 * backward-shift deletion, at most half full). */
static struct {
    pthread_mutex_t lock;
    shared_text **slots;
    size_t capacity; /* a power of two, or 0 */
    size_t count;
} table = {PTHREAD_MUTEX_INITIALIZER, NULL, 0, 0};

/* Home slot of the entry whose text starts at `address`. */
static size_t slot_of(uintptr_t address, size_t capacity)
{
    uint64_t key = (uint64_t)address >> 4;
    key *= UINT64_C(0x9E3779B97F4A7C15);
    return (size_t)(key >> 32) & (capacity - 1);
}

static shared_text *entry_of(char *text)
{
    return (shared_text *)(void *)(text - offsetof(shared_text, text));
}

static void place(shared_text **slots, size_t capacity, shared_text *entry)
{
    size_t i = slot_of((uintptr_t)entry->text, capacity);
    while (slots[i] != NULL)
        i = (i + 1) & (capacity - 1);
    slots[i] = entry;
}

/* Makes room for one more entry; 0 on success, -1 when memory is exhausted. */
static int reserve_one(void)
{
    enum { FIRST_CAPACITY = 64 };
    if ((table.count + 1) * 2 <= table.capacity) return 0;
    size_t capacity = table.capacity == 0 ? FIRST_CAPACITY : table.capacity * 2;
    shared_text **slots = calloc(capacity, sizeof(shared_text *));
    if (slots == NULL) return -1;
    for (size_t i = 0; i < table.capacity; ++i) {
        if (table.slots[i] != NULL) place(slots, capacity, table.slots[i]);
    }
    free(table.slots);
    table.slots = slots;
    table.capacity = capacity;
    return 0;
}

char *rpf_shared_text_new(const char *text)
{
    size_t length = strlen(text);
    shared_text *entry = malloc(sizeof *entry + length + 1);
    if (entry == NULL) return NULL;
    atomic_init(&entry->uses, 1);
    memcpy(entry->text, text, length + 1);
    pthread_mutex_lock(&table.lock);
    int room = reserve_one();
    if (room == 0) {
        place(table.slots, table.capacity, entry);
        ++table.count;
    }
    pthread_mutex_unlock(&table.lock);
    if (room != 0) {
        free(entry);
        return NULL;
    }
    return entry->text;
}

char *rpf_shared_text_retain(char *text)
{
    atomic_fetch_add_explicit(&entry_of(text)->uses, 1, memory_order_relaxed);
    return text;
}

/* Removes slot `hole` and shifts later members of its probe run back. */
static void remove_slot(size_t hole)
{
    size_t mask = table.capacity - 1;
    table.slots[hole] = NULL;
    for (size_t i = (hole + 1) & mask; table.slots[i] != NULL; i = (i + 1) & mask) {
        size_t home = slot_of((uintptr_t)table.slots[i]->text, table.capacity);
        /* The entry may move to the hole when the hole lies on its probe path
         * (cyclically between its home slot and where it is now). */
        if (((i - home) & mask) >= ((i - hole) & mask)) {
            table.slots[hole] = table.slots[i];
            table.slots[i] = NULL;
            hole = i;
        }
    }
    --table.count;
}

int rpf_shared_text_release(char *text)
{
    /* Only the address is compared: an unshared text is never read. */
    uintptr_t address = (uintptr_t)text;
    shared_text *last_use = NULL;
    int shared = 0;
    pthread_mutex_lock(&table.lock);
    if (table.capacity != 0) {
        size_t mask = table.capacity - 1;
        for (size_t i = slot_of(address, table.capacity); table.slots[i] != NULL; i = (i + 1) & mask) {
            shared_text *entry = table.slots[i];
            if ((uintptr_t)entry->text != address) continue;
            shared = 1;
            if (atomic_fetch_sub_explicit(&entry->uses, 1, memory_order_acq_rel) == 1) {
                remove_slot(i);
                last_use = entry;
            }
            break;
        }
    }
    pthread_mutex_unlock(&table.lock);
    free(last_use);
    return shared;
}
