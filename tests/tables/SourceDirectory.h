#pragma once

/// The root of the source tree that this test was built from, absolute, without a slash at the end.
const char* sourceDirectory();
