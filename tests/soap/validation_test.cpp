// tests/soap/validation_test.cpp: the two validators beyond what the operations ask of them.
#include <gtest/gtest.h>

#include "soap/validation.h"

TEST(Validation, ComparesTheBeginningsOfOperationAndField)
{
    EXPECT_EQ(1, wsInputStringValidation("ns__coreDbBlockPointX", "inputTypeX", "setPoint"));
    EXPECT_EQ(0, wsInputStringValidation("ns__coreDbRead", "inputType", "status"));
    EXPECT_EQ(0, wsInputStringValidation("ns__fnPut", "inputFormat", ""));
    EXPECT_EQ(0, wsInputStringValidation("ns__coreDbReadData", "inputName", "status"));
    EXPECT_EQ(0, wsInputStringValidation("ns__coreDbReadData", "inputFormat", "status"));
    EXPECT_EQ(1, wsInputIntValidation("ns__coreDbReadMultDataX", "inputNumX", 5000));
    EXPECT_EQ(1, wsInputIntValidation("ns__coreDbBlockPointX", "onOffX", 1));
    EXPECT_EQ(0, wsInputIntValidation("ns__coreDbReadMultData", "onOff", 1));
    EXPECT_EQ(0, wsInputIntValidation("ns__coreDbBlockPoint", "inputNum", 1));
    EXPECT_EQ(0, wsInputIntValidation("ns__coreDbReadData", "inputNum", 1));
}
