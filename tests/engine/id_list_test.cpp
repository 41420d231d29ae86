#include "engine/id_list.h"

#include <gtest/gtest.h>

TEST(IdList, RefusesWithTheReasonAndChangesNothing) {
    const std::tuple<bool, int, const char*> calls[] = {
        {true, 49, ""},
        {true, 50, "fail to add to list id=50 > max\n"},
        {true, 49, "fail to add to list id=49 already added\n"},
        {true, -1, "fail to add to list id=-1 < 0\n"},
        {false, 50, "fail to remove from list id=50 >= max\n"},
        {false, 8, "fail to remove from list id=8 not added\n"},
        {false, -1, "fail to remove from list id=-1 < 0\n"},
    };
    QbIdList* list = qbIdListCreate(50);
    int items[10];
    int* item = items;
    for (const auto& [add, id, text] : calls) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(add ? qbIdListAdd(list, id, item++) : qbIdListRemove(list, id), *text ? -1 : 0) << text;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), text);
    }
    for (const int id : {-1, 48, 49, 50})
        EXPECT_EQ(qbIdListGet(list, id), id == 49 ? items : nullptr) << id;
    qbIdListFree(list);
}
