#include "engine/id_list.h"

#include <cstdio>
#include <new>

QbIdList* qbIdListCreate(int capacity) {
    if (capacity < 1) return nullptr;
    void** items = new (std::nothrow) void*[static_cast<unsigned>(capacity)]();
    if (!items) return nullptr;
    QbIdList* list = new (std::nothrow) QbIdList{capacity, items};
    if (!list) delete[] items;
    return list;
}

void qbIdListFree(QbIdList* list) {
    if (!list) return;
    delete[] list->items;
    delete list;
}

int qbIdListCapacity(const QbIdList* list) {
    return list ? list->capacity : 0;
}

int qbIdListAdd(QbIdList* list, int id, void* item) {
    if (id < 0) {
        std::fprintf(stderr, "fail to add to list id=%d < 0\n", id);
        return -1;
    }
    if (id >= qbIdListCapacity(list)) {
        std::fprintf(stderr, "fail to add to list id=%d > max\n", id);
        return -1;
    }
    if (list->items[id]) {
        std::fprintf(stderr, "fail to add to list id=%d already added\n", id);
        return -1;
    }
    list->items[id] = item;
    return 0;
}

int qbIdListRemove(QbIdList* list, int id) {
    if (id < 0) {
        std::fprintf(stderr, "fail to remove from list id=%d < 0\n", id);
        return -1;
    }
    if (id >= qbIdListCapacity(list)) {
        std::fprintf(stderr, "fail to remove from list id=%d >= max\n", id);
        return -1;
    }
    if (!list->items[id]) {
        std::fprintf(stderr, "fail to remove from list id=%d not added\n", id);
        return -1;
    }
    list->items[id] = nullptr;
    return 0;
}

void* qbIdListGet(const QbIdList* list, int id) {
    if (id < 0 || id >= qbIdListCapacity(list)) return nullptr;
    return list->items[id];
}
