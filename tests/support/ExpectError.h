// Checks that a statement throws the library's mError with a given message, value and source.
#pragma once
#include "mUtil/mError.h"

#include <gtest/gtest.h>

#include <cstring>

#define EXPECT_MERROR(statement, text, val, source)                                                  \
    do {                                                                                             \
        try {                                                                                        \
            statement;                                                                               \
            ADD_FAILURE() << "no mError from: " #statement;                                          \
        } catch (const mError &thrown) {                                                             \
            EXPECT_STREQ((text), thrown.message.c_str());                                            \
            EXPECT_EQ((long)(val), thrown.value);                                                    \
            EXPECT_STREQ((source), thrown.file ? thrown.file : "");                                  \
        }                                                                                            \
    } while (0)
