#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tessel/platform/nitf.h"

namespace {

struct IOCloser {
    nitf_IOInterface* io;
    ~IOCloser() { nitf_IOInterface_destruct(&io); }
};

TEST(NrtList, PushPopAndIterateInOrder) {
    nrt_Error error{};
    nrt_List* list = nrt_List_construct(&error);
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(nrt_List_isEmpty(list));
    int a = 1, b = 2, c = 3;
    ASSERT_TRUE(nrt_List_pushBack(list, &b, &error));
    ASSERT_TRUE(nrt_List_pushBack(list, &c, &error));
    ASSERT_TRUE(nrt_List_pushFront(list, &a, &error));
    EXPECT_EQ(nrt_List_size(list), 3u);
    std::vector<int> seen;
    nrt_ListIterator end = nrt_List_end(list);
    for (nrt_ListIterator it = nrt_List_begin(list); nrt_ListIterator_notEqualTo(&it, &end);
         nrt_ListIterator_increment(&it)) {
        seen.push_back(*static_cast<int*>(nrt_ListIterator_get(&it)));
    }
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
    nrt_ListIterator second = nrt_List_at(list, 1);
    EXPECT_EQ(*static_cast<int*>(nrt_ListIterator_get(&second)), 2);
    nrt_ListIterator outside = nrt_List_at(list, 7);
    EXPECT_TRUE(nrt_ListIterator_equals(&outside, &end));
    EXPECT_EQ(nrt_List_remove(list, &second), &b);
    EXPECT_EQ(*static_cast<int*>(nrt_ListIterator_get(&second)), 3);
    EXPECT_EQ(nrt_List_popFront(list), &a);
    EXPECT_EQ(nrt_List_size(list), 1u);
    nrt_List_destruct(&list);
    EXPECT_EQ(list, nullptr);
}

TEST(NrtList, NitfSpellingsAreTheSame) {
    nitf_Error error{};
    nitf_List* list = nitf_List_construct(&error);
    int value = 5;
    ASSERT_TRUE(nitf_List_pushBack(list, &value, &error));
    nitf_ListIterator it = nitf_List_begin(list);
    EXPECT_EQ(nitf_ListIterator_get(&it), &value);
    nitf_List_destruct(&list);
}

char* heapText(const char* text) {
    char* copy = static_cast<char*>(std::malloc(std::strlen(text) + 1));
    std::strcpy(copy, text);
    return copy;
}

TEST(NrtHashTable, DuplicateKeyAppendsAndFindGivesTheFirst) {
    nrt_Error error{};
    nrt_HashTable* ht = nrt_HashTable_construct(4, &error);
    ASSERT_NE(ht, nullptr);
    nrt_HashTable_setPolicy(ht, NRT_DATA_RETAIN_OWNER);
    int first = 1, second = 2;
    ASSERT_TRUE(nrt_HashTable_insert(ht, "BANDSB", &first, &error));
    ASSERT_TRUE(nrt_HashTable_insert(ht, "BANDSB", &second, &error));
    nrt_Pair* pair = nrt_HashTable_find(ht, "BANDSB");
    ASSERT_NE(pair, nullptr);
    EXPECT_EQ(pair->data, &first);
    EXPECT_STREQ(pair->key, "BANDSB");
    int count = 0;
    nrt_HashTableIterator end = nrt_HashTable_end(ht);
    for (nrt_HashTableIterator it = nrt_HashTable_begin(ht);
         nrt_HashTableIterator_notEqualTo(&it, &end); nrt_HashTableIterator_increment(&it)) {
        EXPECT_STREQ(nrt_HashTableIterator_get(&it)->key, "BANDSB");
        ++count;
    }
    EXPECT_EQ(count, 2);
    EXPECT_EQ(nrt_HashTable_remove(ht, "BANDSB"), &first);
    EXPECT_EQ(nrt_HashTable_find(ht, "BANDSB")->data, &second);
    EXPECT_EQ(nrt_HashTable_remove(ht, "BANDSB"), &second);
    EXPECT_FALSE(nrt_HashTable_exists(ht, "BANDSB"));
    nrt_HashTable_destruct(&ht);
    EXPECT_EQ(ht, nullptr);
}

TEST(NrtHashTable, IteratesEveryKeyAcrossBuckets) {
    nrt_Error error{};
    nrt_HashTable* ht = nrt_HashTable_construct(3, &error);
    nrt_HashTable_setPolicy(ht, NRT_DATA_ADOPT);
    const char* keys[] = {"A", "BB", "CCC", "DDDD", "EEEEE", "F", "G"};
    for (const char* key : keys) {
        ASSERT_TRUE(nrt_HashTable_insert(ht, key, heapText(key), &error));
    }
    int count = 0;
    nrt_HashTableIterator end = nrt_HashTable_end(ht);
    for (nrt_HashTableIterator it = nrt_HashTable_begin(ht);
         nrt_HashTableIterator_notEqualTo(&it, &end); nrt_HashTableIterator_increment(&it)) {
        nrt_Pair* pair = nrt_HashTableIterator_get(&it);
        EXPECT_STREQ(pair->key, static_cast<char*>(pair->data));
        ++count;
    }
    EXPECT_EQ(count, 7);
    nrt_HashTable_destruct(&ht);  // frees the adopted strings (leak-checked under asan)
}

TEST(NrtHashTable, GrowsWithItsPairsAndKeepsEveryKeyAndDuplicateOrder) {
    nrt_Error error{};
    nrt_HashTable* ht = nrt_HashTable_construct(8, &error);
    ASSERT_NE(ht, nullptr);
    nrt_HashTable_setPolicy(ht, NRT_DATA_ADOPT);
    constexpr int count = 10000;
    for (int i = 0; i < count; ++i) {
        const std::string key = "FIELD" + std::to_string(i);
        ASSERT_TRUE(nrt_HashTable_insert(ht, key.c_str(), heapText(key.c_str()), &error));
    }
    ASSERT_TRUE(nrt_HashTable_insert(ht, "FIELD7", heapText("second FIELD7"), &error));
    EXPECT_GE(ht->nbuckets, count / 4);
    EXPECT_EQ(ht->npairs, count + 1);
    for (int i = 0; i < count; ++i) {
        const std::string key = "FIELD" + std::to_string(i);
        nrt_Pair* pair = nrt_HashTable_find(ht, key.c_str());
        ASSERT_NE(pair, nullptr) << key;
        EXPECT_STREQ(static_cast<char*>(pair->data), key.c_str());
    }
    free(nrt_HashTable_remove(ht, "FIELD7"));
    EXPECT_STREQ(static_cast<char*>(nrt_HashTable_find(ht, "FIELD7")->data), "second FIELD7");
    EXPECT_EQ(ht->npairs, count);
    int visited = 0;
    nrt_HashTableIterator end = nrt_HashTable_end(ht);
    for (nrt_HashTableIterator it = nrt_HashTable_begin(ht);
         nrt_HashTableIterator_notEqualTo(&it, &end); nrt_HashTableIterator_increment(&it)) {
        ++visited;
    }
    EXPECT_EQ(visited, count);
    nrt_HashTable_destruct(&ht);  // frees every adopted string (leak-checked under asan)
}

int destroyedCount = 0;
void countingDestructor(NRT_DATA* data) {
    ++destroyedCount;
    delete static_cast<int*>(data);
}

TEST(NrtHashTable, AdoptedDataGoesThroughTheTablesDestructor) {
    nrt_Error error{};
    nrt_HashTable* ht = nrt_HashTable_construct(2, &error);
    nrt_HashTable_setPolicy(ht, NRT_DATA_ADOPT);
    nrt_HashTable_setDataDestructor(ht, countingDestructor);
    destroyedCount = 0;
    nrt_HashTable_insert(ht, "x", new int(1), &error);
    nrt_HashTable_insert(ht, "y", new int(2), &error);
    nrt_HashTable_destruct(&ht);
    EXPECT_EQ(destroyedCount, 2);
}

TEST(NrtHashTable, ZeroBucketsIsAnError) {
    nrt_Error error{};
    EXPECT_EQ(nrt_HashTable_construct(0, &error), nullptr);
    EXPECT_NE(error.level, 0);
}

TEST(NrtSystem, SwapsReverseBytes) {
    EXPECT_EQ(nrt_System_swap16(0x1234), 0x3412);
    EXPECT_EQ(nrt_System_swap32(0x11223344u), 0x44332211u);
    EXPECT_EQ(nrt_System_swap64(0x0102030405060708ull), 0x0807060504030201ull);
    EXPECT_EQ(nitf_System_swap32(nitf_System_swap32(0xdeadbeefu)), 0xdeadbeefu);
}

TEST(NrtBufferAdapter, ReadSeekTellSize) {
    nrt_Error error{};
    char bytes[] = "0123456789";
    IOCloser io{nrt_BufferAdapter_construct(bytes, 10, false, &error)};
    ASSERT_NE(io.io, nullptr);
    EXPECT_EQ(nrt_IOInterface_getSize(io.io, &error), 10);
    EXPECT_TRUE(nrt_IOInterface_canSeek(io.io, &error));
    char out[4] = {};
    ASSERT_TRUE(nrt_IOInterface_read(io.io, out, 3, &error));
    EXPECT_EQ(std::string(out, 3), "012");
    EXPECT_EQ(nrt_IOInterface_tell(io.io, &error), 3);
    EXPECT_EQ(nrt_IOInterface_seek(io.io, -2, NRT_SEEK_END, &error), 8);
    ASSERT_TRUE(nrt_IOInterface_read(io.io, out, 2, &error));
    EXPECT_EQ(std::string(out, 2), "89");
    EXPECT_EQ(nrt_IOInterface_seek(io.io, -1, NRT_SEEK_CUR, &error), 9);
    EXPECT_EQ(nrt_IOInterface_seek(io.io, 4, NRT_SEEK_SET, &error), 4);
}

TEST(NrtBufferAdapter, ReadingPastTheEndFails) {
    nrt_Error error{};
    char bytes[] = "abc";
    IOCloser io{nrt_BufferAdapter_construct(bytes, 3, false, &error)};
    char out[8];
    EXPECT_FALSE(nrt_IOInterface_read(io.io, out, 4, &error));
    EXPECT_EQ(error.level, NRT_ERR_READING_FROM_FILE);
    nrt_Error seekError{};
    EXPECT_FALSE(NRT_IO_SUCCESS(nrt_IOInterface_seek(io.io, 5, NRT_SEEK_SET, &seekError)));
    EXPECT_FALSE(NRT_IO_SUCCESS(nrt_IOInterface_seek(io.io, -1, NRT_SEEK_SET, &seekError)));
}

TEST(NrtBufferAdapter, FixedBufferRefusesWritesPastItsEnd) {
    nrt_Error error{};
    char bytes[4] = {};
    IOCloser io{nrt_BufferAdapter_construct(bytes, 4, false, &error)};
    EXPECT_TRUE(nrt_IOInterface_write(io.io, "ab", 2, &error));
    EXPECT_FALSE(nrt_IOInterface_write(io.io, "cde", 3, &error));
    EXPECT_EQ(std::string(bytes, 2), "ab");
}

TEST(NrtBufferAdapter, OwnedBufferIsFreed) {
    nrt_Error error{};
    auto* bytes = static_cast<char*>(std::malloc(16));
    std::memset(bytes, 'x', 16);
    nrt_IOInterface* io = nrt_BufferAdapter_construct(bytes, 16, true, &error);
    ASSERT_NE(io, nullptr);
    nrt_IOInterface_destruct(&io);  // leak-checked under asan
    EXPECT_EQ(io, nullptr);
}

TEST(NrtBufferAdapter, GrowableOutputCollectsWritesAndGaps) {
    nrt_Error error{};
    IOCloser io{nrt_BufferAdapter_constructGrowable(&error)};
    ASSERT_NE(io.io, nullptr);
    ASSERT_TRUE(nrt_IOInterface_write(io.io, "NITF", 4, &error));
    EXPECT_EQ(nrt_IOInterface_seek(io.io, 8, NRT_SEEK_SET, &error), 8);
    ASSERT_TRUE(nrt_IOInterface_write(io.io, "02", 2, &error));
    EXPECT_EQ(nrt_IOInterface_getSize(io.io, &error), 10);
    nrt_IOInterface_seek(io.io, 1, NRT_SEEK_SET, &error);
    ASSERT_TRUE(nrt_IOInterface_write(io.io, "S", 1, &error));
    size_t size = 0;
    const char* bytes = nrt_BufferAdapter_getBuffer(io.io, &size);
    ASSERT_EQ(size, 10u);
    EXPECT_EQ(std::string(bytes, size), std::string("NSTF\0\0\0\0"
                                                    "02",
                                                    10));
    nrt_IOInterface_seek(io.io, 0, NRT_SEEK_SET, &error);
    char out[4];
    ASSERT_TRUE(nrt_IOInterface_read(io.io, out, 4, &error));
    EXPECT_EQ(std::string(out, 4), "NSTF");
}

TEST(NrtIOHandleAdapter, WritesThenReadsAFile) {
    std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("nrt_io_" + std::to_string(::getpid()));
    nrt_Error error{};
    {
        IOCloser out{nrt_IOHandleAdapter_open(path.c_str(), NRT_ACCESS_WRITEONLY,
                                              NRT_CREATE | NRT_TRUNCATE, &error)};
        ASSERT_NE(out.io, nullptr) << error.message;
        ASSERT_TRUE(nrt_IOInterface_write(out.io, "hello world", 11, &error));
        EXPECT_EQ(nrt_IOInterface_getSize(out.io, &error), 11);
        EXPECT_EQ(static_cast<uint32_t>(nrt_IOInterface_getMode(out.io, &error)),
                  NRT_ACCESS_WRITEONLY);
        EXPECT_TRUE(nrt_IOInterface_close(out.io, &error));
    }
    {
        IOCloser in{
            nrt_IOHandleAdapter_open(path.c_str(), NRT_ACCESS_READONLY, NRT_OPEN_EXISTING, &error)};
        ASSERT_NE(in.io, nullptr) << error.message;
        EXPECT_EQ(nrt_IOInterface_seek(in.io, 6, NRT_SEEK_SET, &error), 6);
        char out[5];
        ASSERT_TRUE(nrt_IOInterface_read(in.io, out, 5, &error));
        EXPECT_EQ(std::string(out, 5), "world");
        EXPECT_EQ(nrt_IOInterface_tell(in.io, &error), 11);
        nrt_Error endError{};
        EXPECT_FALSE(nrt_IOInterface_read(in.io, out, 1, &endError));
        EXPECT_EQ(endError.level, NRT_ERR_READING_FROM_FILE);
    }
    std::filesystem::remove(path);
}

TEST(NrtIOHandleAdapter, MissingFileFailsWithOpeningError) {
    nrt_Error error{};
    nrt_IOInterface* io = nrt_IOHandleAdapter_open("/nonexistent/dir/file.ntf", NRT_ACCESS_READONLY,
                                                   NRT_OPEN_EXISTING, &error);
    EXPECT_EQ(io, nullptr);
    EXPECT_EQ(error.level, NRT_ERR_OPENING_FILE);
    EXPECT_NE(std::string(error.message).find("/nonexistent/dir/file.ntf"), std::string::npos);
}

TEST(NrtIOInterface, AccessCodesAreTheHostValues) {
    EXPECT_EQ(NRT_ACCESS_READONLY, 0x80000000u);
    EXPECT_EQ(NRT_ACCESS_WRITEONLY, 0x40000000u);
    EXPECT_EQ(NRT_ACCESS_READWRITE, 0xC0000000u);
    EXPECT_EQ(NITF_ACCESS_READWRITE, NRT_ACCESS_READWRITE);
}

// A caller-made interface: the table's nine entries are called in their documented roles.
struct Probe {
    std::vector<std::string> calls;
};
NRT_BOOL probeRead(NRT_DATA* d, void*, size_t, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("read");
    return true;
}
NRT_BOOL probeWrite(NRT_DATA* d, const void*, size_t, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("write");
    return true;
}
NRT_BOOL probeCanSeek(NRT_DATA* d, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("canSeek");
    return true;
}
nrt_Off probeSeek(NRT_DATA* d, nrt_Off, int, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("seek");
    return 1;
}
nrt_Off probeTell(NRT_DATA* d, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("tell");
    return 2;
}
nrt_Off probeGetSize(NRT_DATA* d, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("getSize");
    return 3;
}
int probeGetMode(NRT_DATA* d, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("getMode");
    return 4;
}
NRT_BOOL probeClose(NRT_DATA* d, nrt_Error*) {
    static_cast<Probe*>(d)->calls.push_back("close");
    return true;
}
void probeDestruct(NRT_DATA* d) {
    static_cast<Probe*>(d)->calls.push_back("destruct");
}

TEST(NrtIOInterface, ForwardsToTheTableInOrder) {
    Probe probe;
    nrt_IIOInterface table = {probeRead,    probeWrite,   probeCanSeek, probeSeek,    probeTell,
                              probeGetSize, probeGetMode, probeClose,   probeDestruct};
    auto* io = static_cast<nrt_IOInterface*>(std::malloc(sizeof(nrt_IOInterface)));
    io->data = &probe;
    io->iface = &table;
    nrt_Error error{};
    char buf[1];
    nrt_IOInterface_read(io, buf, 1, &error);
    nrt_IOInterface_write(io, buf, 1, &error);
    nrt_IOInterface_canSeek(io, &error);
    EXPECT_EQ(nrt_IOInterface_seek(io, 0, NRT_SEEK_SET, &error), 1);
    EXPECT_EQ(nrt_IOInterface_tell(io, &error), 2);
    EXPECT_EQ(nrt_IOInterface_getSize(io, &error), 3);
    EXPECT_EQ(nrt_IOInterface_getMode(io, &error), 4);
    nrt_IOInterface_close(io, &error);
    nrt_IOInterface_destruct(&io);
    EXPECT_EQ(io, nullptr);
    EXPECT_EQ(probe.calls, (std::vector<std::string>{"read", "write", "canSeek", "seek", "tell",
                                                     "getSize", "getMode", "close", "destruct"}));
}

}  // namespace
