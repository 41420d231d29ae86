#include "engine/id_list.h"

#include <gtest/gtest.h>
#include <string>

namespace {

class IdListTest : public testing::Test {
protected:
    IdListTest() { qbIdListAdd(list, 7, &item); }
    ~IdListTest() override { qbIdListFree(list); }

    QbIdList* list = qbIdListCreate(50);
    int item = 0;
};

} // namespace

TEST_F(IdListTest, RefusesWithTheReasonAndChangesNothing) {
    const struct {
        bool add;
        int id;
        int result;
        const char* text;
    } calls[] = {
        {true, 49, 0, ""},
        {true, 50, -1, "fail to add to list id=50 > max\n"},
        {true, 7, -1, "fail to add to list id=7 already added\n"},
        {true, -1, -1, "fail to add to list id=-1 < 0\n"},
        {false, 50, -1, "fail to remove from list id=50 >= max\n"},
        {false, 8, -1, "fail to remove from list id=8 not added\n"},
        {false, -1, -1, "fail to remove from list id=-1 < 0\n"},
        {false, 49, 0, ""},
        {false, 49, -1, "fail to remove from list id=49 not added\n"},
    };
    int other = 0;
    for (const auto& call : calls) {
        testing::internal::CaptureStderr();
        const int result = call.add ? qbIdListAdd(list, call.id, &other) : qbIdListRemove(list, call.id);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), call.text);
        EXPECT_EQ(result, call.result) << call.text;
    }
    EXPECT_EQ(qbIdListGet(list, 7), &item);
}

TEST_F(IdListTest, GivesNullForWhatItDoesNotHold) {
    for (const int id : {-1, 0, 49, 50, 2000000000})
        EXPECT_EQ(qbIdListGet(list, id), nullptr) << id;
    EXPECT_EQ(qbIdListGet(nullptr, 0), nullptr);
    EXPECT_EQ(qbIdListCapacity(nullptr), 0);
    EXPECT_EQ(qbIdListCapacity(list), 50);
    EXPECT_EQ(qbIdListCreate(0), nullptr);
    EXPECT_EQ(qbIdListCreate(-1), nullptr);
}
