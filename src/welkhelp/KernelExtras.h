// Functions by which a statement asks the kernel once instead of many times. Kernels before this one lack
// them: whoever calls one looks first whether it is there, and has another way.
#pragma once

#include "include/wdb_bulk.h"

#pragma weak WdbBaseFields
#pragma weak WdbIndexBehind
#pragma weak WdbSessionTexts
#pragma weak WdbAllowNoHits
#pragma weak WdbOpenIndexed
#pragma weak WdbGetRowBlock
