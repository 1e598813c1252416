"""reduce-colours.py IN.png OUT.png: brings a picture down to a palette of 256 colours without dithering.

Its transparency becomes all or nothing, the only one that an icon image with a palette has.
"""

import sys

from PIL import Image

OPAQUE_FROM = 128

picture = Image.open(sys.argv[1]).convert("RGBA")
mask = picture.getchannel("A").point(lambda alpha: 255 if alpha >= OPAQUE_FROM else 0)
reduced = picture.convert("RGB").quantize(256, Image.Quantize.MEDIANCUT, dither=Image.Dither.NONE).convert("RGBA")
reduced.putalpha(mask)
reduced.save(sys.argv[2])
