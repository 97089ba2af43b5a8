#pragma once

// Inner spacing of a view, in the framework's field order: left, top, right, bottom.
struct Padding {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

inline bool operator==(const Padding& a, const Padding& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
