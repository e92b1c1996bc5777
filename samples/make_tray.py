#!/usr/bin/env python3
"""Makes tray.step beside this script with the mesher gmsh: exact surfaces in millimetres.

A tray with a floor of 240 by 160 and walls 40 high that lean out by 30, rounded by 15 where they meet each other
and the floor.
"""

import pathlib
import re
import subprocess
import tempfile

SCRIPT = """
SetFactory("OpenCASCADE");
Geometry.OCCAutoFix = 0;
Rectangle(1) = {-120, -80, 0, 240, 160};
Rectangle(2) = {-150, -110, 40, 300, 220};
ThruSections(1) = {1, 2};
Delete { Surface{1}; Surface{2}; }
edges() = {};
all() = Unique(Abs(Boundary{ Surface{ Unique(Abs(Boundary{ Volume{1}; })) }; }));
For k In {0:#all()-1}
  box() = BoundingBox Curve{all(k)};
  If (box(2) < 1)
    edges() += all(k);
  EndIf
EndFor
Fillet{1}{edges()}{15}
faces() = Unique(Abs(Boundary{ Volume{1}; }));
Delete{ Volume{1}; }
For k In {0:#faces()-1}
  box() = BoundingBox Surface{faces(k)};
  If (box(2) > 39)
    Recursive Delete{ Surface{faces(k)}; }
  EndIf
EndFor
"""


def main():
    target = pathlib.Path(__file__).resolve().parent / "tray.step"
    with tempfile.TemporaryDirectory() as folder:
        script = pathlib.Path(folder) / "tray.geo"
        script.write_text(SCRIPT)
        subprocess.run(["gmsh", script, "-0", "-v", "1", "-o", "tray.step"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
        text = (pathlib.Path(folder) / "tray.step").read_text()
    # The day on which it was made would make two equal runs write different files.
    target.write_text(re.sub(r"'\d{4}-\d\d-\d\dT[\d:]+'", "'2000-01-01T00:00:00'", text))


if __name__ == "__main__":
    main()
