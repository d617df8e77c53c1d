// Draws what stays the same of a layer.
#pragma once

#include "pictures/font.h"
#include "pictures/look.h"

namespace vesk::pictures {

class Pen;

/// The drawing of a look, without what changes with each frame.
Picture DrawFace(const Look& look, const Font& font);

// Its kinds.
void DrawTestPicture(Pen& pen, const Look& look);
void DrawImage(Picture& onto, const Look& look);
/// Texts in the middle, upright whatever the source's coordinates are.
void DrawPanel(Picture& onto, const Look& look, const Font& font);
void DrawPointer(Pen& pen, const Look& look);
/// The look's tag.
void DrawTag(Picture& onto, const Look& look, const Font& font);

} // namespace vesk::pictures
