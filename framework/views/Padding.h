#pragma once

// Inner spacing of a view, in the framework's field order: left, top, right, bottom.
struct Padding {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};
