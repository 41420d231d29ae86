#pragma once

// Fixed table of pointers; an id is a direct index. The list owns its array, never the items.
// A null list holds nothing and takes nothing.
struct QbIdList {
    int capacity;
    void** items;
};

QbIdList* qbIdListCreate(int capacity); // null without memory or for a capacity below 1
void qbIdListFree(QbIdList* list);      // null is allowed
int qbIdListCapacity(const QbIdList* list);
// 0, or -1 with a line on the error stream when the id is outside the table or taken.
int qbIdListAdd(QbIdList* list, int id, void* item);
// 0, or -1 with a line on the error stream when the id is outside the table or empty.
int qbIdListRemove(QbIdList* list, int id);
// The item; null for an empty id or one outside the table (negative ones too).
void* qbIdListGet(const QbIdList* list, int id);
