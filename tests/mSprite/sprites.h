// Ids of the test program's bitmap resources, shared by its script and the tests.
#pragma once

#define RES_SPRITE 1
#define RES_BROKEN 3
