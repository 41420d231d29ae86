#include "engine/id_list.h"

#include <gtest/gtest.h>

TEST(IdList, RefusesWithTheReasonAndChangesNothing) {
    const struct {
        bool add;
        int id;
        const char* text;
    } calls[] = {
        {true, 7, ""},
        {true, 49, ""},
        {true, 50, "fail to add to list id=50 > max\n"},
        {true, 7, "fail to add to list id=7 already added\n"},
        {true, -1, "fail to add to list id=-1 < 0\n"},
        {false, 50, "fail to remove from list id=50 >= max\n"},
        {false, 8, "fail to remove from list id=8 not added\n"},
        {false, -1, "fail to remove from list id=-1 < 0\n"},
        {false, 49, ""},
        {false, 49, "fail to remove from list id=49 not added\n"},
    };
    QbIdList* list = qbIdListCreate(50);
    int items[10];
    int* item = items;
    for (const auto& call : calls) {
        testing::internal::CaptureStderr();
        const int result = call.add ? qbIdListAdd(list, call.id, item++) : qbIdListRemove(list, call.id);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), call.text);
        EXPECT_EQ(result, *call.text ? -1 : 0) << call.text;
    }
    EXPECT_EQ(qbIdListGet(list, 7), items);
    for (const int id : {-1, 0, 49, 50, 2000000000})
        EXPECT_EQ(qbIdListGet(list, id), nullptr) << id;
    qbIdListFree(list);
    EXPECT_EQ(qbIdListGet(nullptr, 0), nullptr);
    EXPECT_EQ(qbIdListCreate(0), nullptr);
    EXPECT_EQ(qbIdListCreate(-1), nullptr);
}
