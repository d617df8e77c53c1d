// Draws what stays the same of a layer.
#include "pictures/face.h"

#include "pictures/pen.h"

namespace vesk::pictures {

Picture DrawFace(const Look& look, const Font& font)
{
    Picture picture(look.size);
    switch (look.kind) {
    case Look::Kind::kTestPicture:
    case Look::Kind::kDecoded: {
        Pen pen(picture, look.transform, font);
        DrawTestPicture(pen, look);
        DrawTag(picture, look, font);
        break;
    }
    case Look::Kind::kImage:
        DrawImage(picture, look);
        break;
    case Look::Kind::kPanel:
        DrawPanel(picture, look, font);
        break;
    case Look::Kind::kPointer: {
        Pen pen(picture, look.transform, font);
        DrawPointer(pen, look);
        break;
    }
    }
    return picture;
}

} // namespace vesk::pictures
