// Resource ids of the test modules, shared by their scripts and the tests.
#pragma once

#define RES_BITMAP 1
#define RES_BLOCK 1
#define RES_MISSING 77
#define STR_GREETING 1
#define STR_LONG 2
