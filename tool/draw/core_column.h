// A core sample as a drawing: the layers on top of each other, as thick as they are, with their angles.
#pragma once

#include "host/laminate/laminate.h"
#include "tool/draw/canvas.h"

namespace tool {

void drawCore(Canvas& canvas, const Laminate& laminate, const CoreSample& core, double millimetresPerUnit,
              const Box& box);

} // namespace tool
