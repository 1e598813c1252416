#include "Tests/Support/FailingInTurn.h"

#include <gtest/gtest.h>

#include <iostream>

FailingInTurn::~FailingInTurn()
{
    std::cout << name_ << ": failures at " << reached_ << " of " << points_ * 2 << " points\n";
    EXPECT_EQ(reached_, points_ * 2) << name_;
    EXPECT_NE(points_, 0u) << name_ << " takes no memory";
}
