#include "rpf_pack_p.h"

#include <pthread.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#define RPF_PACK_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(leak_sanitizer)
#define RPF_PACK_LSAN 1
#endif
#endif
#ifdef RPF_PACK_LSAN
/* Records and URL records live in chunks and point to malloc'd memory (a
 * folder's arrays, a client's object, a password set later): LeakSanitizer
 * must scan the chunks in use. */
#include <sanitizer/lsan_interface.h>
#endif

enum { CHUNK_SHIFT = 20 };
#define CHUNK_SIZE RPF_PACK_CHUNK_SIZE
_Static_assert(CHUNK_SIZE == (size_t)1 << CHUNK_SHIFT, "one chunk size");
/* 16 GiB of address space, reserved without memory behind it. */
#define CHUNK_COUNT ((size_t)16384)

/* The header is a whole cache line so that the pieces after it start aligned. */
enum { HEADER_SIZE = 64 };
_Static_assert(sizeof(rpf_pack_chunk) <= HEADER_SIZE, "chunk header fits");

static struct {
    pthread_once_t once;
    /* Null until reserved, and when the range could not be reserved. Atomic:
     * any thread tests pointers against it, also while another reserves. */
    _Atomic(char *) base;
    pthread_mutex_t lock;
    size_t fresh; /* chunks below this index have been used at least once */
    size_t *free; /* indices of returned chunks */
    size_t free_count;
    size_t in_use;
} range = {PTHREAD_ONCE_INIT, NULL, PTHREAD_MUTEX_INITIALIZER, 0, NULL, 0, 0};

static void reserve_range(void)
{
    size_t size = CHUNK_SIZE * (CHUNK_COUNT + 1);
    void *area = mmap(NULL, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (area == MAP_FAILED) return;
    size_t *free_list = malloc(CHUNK_COUNT * sizeof *free_list);
    if (free_list == NULL) {
        (void)munmap(area, size);
        return;
    }
    /* Chunks are aligned to their size, so a piece finds its header by
     * masking its address. */
    char *aligned = (char *)area + ((CHUNK_SIZE - ((uintptr_t)area & (CHUNK_SIZE - 1))) & (CHUNK_SIZE - 1));
    range.free = free_list;
    atomic_store_explicit(&range.base, aligned, memory_order_release);
}

static rpf_pack_chunk *chunk_of(const void *pointer)
{
    const char *at = pointer;
    return (rpf_pack_chunk *)(at - ((uintptr_t)at & (CHUNK_SIZE - 1)));
}

int rpf_pack_contains(const void *pointer)
{
    const char *base = atomic_load_explicit(&range.base, memory_order_acquire);
    return base != NULL && (const char *)pointer >= base && (const char *)pointer < base + CHUNK_SIZE * CHUNK_COUNT;
}

static rpf_pack_chunk *take_chunk(void)
{
    pthread_once(&range.once, reserve_range);
    char *base = atomic_load_explicit(&range.base, memory_order_relaxed);
    if (base == NULL) return NULL;
    rpf_pack_chunk *chunk = NULL;
    pthread_mutex_lock(&range.lock);
    if (range.free_count > 0) {
        chunk = (rpf_pack_chunk *)(base + range.free[--range.free_count] * CHUNK_SIZE);
    } else if (range.fresh < CHUNK_COUNT) {
        size_t index = range.fresh;
        void *at = base + index * CHUNK_SIZE;
        if (mprotect(at, CHUNK_SIZE, PROT_READ | PROT_WRITE) == 0) {
            range.fresh += 1;
            chunk = at;
        }
    }
    if (chunk != NULL) range.in_use += 1;
    pthread_mutex_unlock(&range.lock);
    if (chunk == NULL) return NULL;
    atomic_init(&chunk->uses, 1);
    chunk->building = 0;
    chunk->dirty = HEADER_SIZE;
#ifdef RPF_PACK_LSAN
    __lsan_register_root_region(chunk, CHUNK_SIZE);
#endif
    return chunk;
}

static void give_back(rpf_pack_chunk *chunk)
{
#ifdef RPF_PACK_LSAN
    __lsan_unregister_root_region(chunk, CHUNK_SIZE);
#endif
    /* The pages go back to the system; the chunk reads as zeros when it is
     * taken again. */
    char *base = atomic_load_explicit(&range.base, memory_order_relaxed);
    size_t index = (size_t)((char *)chunk - base) >> CHUNK_SHIFT;
    /* Pieces are handed out as zeros: a chunk that keeps its pages is
     * cleared by hand. */
    if (madvise(chunk, chunk->dirty, MADV_DONTNEED) != 0) memset(chunk, 0, chunk->dirty);
    pthread_mutex_lock(&range.lock);
    range.free[range.free_count++] = index;
    range.in_use -= 1;
    pthread_mutex_unlock(&range.lock);
}

static void release_uses(rpf_pack_chunk *chunk, size_t uses)
{
    if (atomic_fetch_sub_explicit(&chunk->uses, uses, memory_order_acq_rel) == uses) give_back(chunk);
}

/* Records the chunk among those the read took; 0 when memory ran out. */
static int remember(rpf_pack *pack, rpf_pack_chunk *chunk)
{
    if (pack->count == pack->capacity) {
        size_t capacity = pack->capacity == 0 ? 8 : pack->capacity * 2;
        /* An array of pointers. */
        rpf_pack_chunk **taken = realloc(pack->taken, capacity * sizeof *taken); // NOLINT(bugprone-sizeof-expression)
        if (taken == NULL) return 0;
        pack->taken = taken;
        pack->capacity = capacity;
    }
    pack->taken[pack->count++] = chunk;
    return 1;
}

void *rpf_pack_alloc_slow(rpf_pack *pack, size_t size, size_t align)
{
    /* A fresh chunk: its first piece is aligned to the header's 64 bytes. */
    (void)align;
    if (size > CHUNK_SIZE - HEADER_SIZE) return NULL;
    rpf_pack_chunk *chunk = take_chunk();
    if (chunk == NULL) return NULL;
    if (!remember(pack, chunk)) {
        release_uses(chunk, 1);
        return NULL;
    }
    if (pack->chunk != NULL) pack->chunk->dirty = (size_t)(pack->next - (char *)pack->chunk);
    char *at = (char *)chunk + HEADER_SIZE;
    pack->chunk = chunk;
    pack->next = at + size;
    pack->end = (char *)chunk + CHUNK_SIZE;
    chunk->building += 1;
    return at;
}

char *rpf_pack_copy(rpf_pack *pack, const char *text, size_t length)
{
    if (length >= CHUNK_SIZE) return NULL;
    char *copy = rpf_pack_alloc(pack, length + 1, 1);
    if (copy == NULL) return NULL;
    memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

void rpf_pack_finish(rpf_pack *pack)
{
    if (pack->chunk != NULL) pack->chunk->dirty = (size_t)(pack->next - (char *)pack->chunk);
    for (size_t i = 0; i < pack->count; ++i) {
        rpf_pack_chunk *chunk = pack->taken[i];
        size_t building = chunk->building;
        chunk->building = 0;
        if (building > 0) atomic_fetch_add_explicit(&chunk->uses, building, memory_order_release);
        release_uses(chunk, 1); /* the read's own hold */
    }
    free(pack->taken);
    memset(pack, 0, sizeof *pack);
}

void rpf_pack_batch_flush(rpf_pack_batch *batch)
{
    if (batch->chunk != NULL) release_uses(batch->chunk, batch->uses);
    batch->chunk = NULL;
    batch->uses = 0;
}

void rpf_text_free_batched(void *pointer, rpf_pack_batch *batch)
{
    if (pointer == NULL) return;
    if (!rpf_pack_contains(pointer)) {
        free(pointer);
        return;
    }
    rpf_pack_chunk *chunk = chunk_of(pointer);
    if (batch == NULL) {
        release_uses(chunk, 1);
        return;
    }
    if (batch->chunk != chunk) {
        rpf_pack_batch_flush(batch);
        batch->chunk = chunk;
    }
    batch->uses += 1;
}

void rpf_text_free(void *pointer)
{
    rpf_text_free_batched(pointer, NULL);
}

size_t rpf_pack_chunks_in_use(void)
{
    pthread_mutex_lock(&range.lock);
    size_t in_use = range.in_use;
    pthread_mutex_unlock(&range.lock);
    return in_use;
}
