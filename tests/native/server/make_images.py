#!/usr/bin/env python3
"""Writes the server tests' sample images with Pillow, in the layouts real files come in. Each
name ends in _WIDTHxHEIGHT, the size the server must read back."""
import io
import os
import struct
import sys

from PIL import Image, ImageDraw

out = sys.argv[1]
os.makedirs(out, exist_ok=True)


def picture(mode, size):
    image = Image.new("RGB", size, (240, 230, 200))
    draw = ImageDraw.Draw(image)
    draw.ellipse((1, 1, size[0] - 2, size[1] - 2), fill=(30, 90, 160))
    draw.line((0, 0, size[0], size[1]), fill=(200, 20, 20), width=3)
    return image.convert(mode)


def save(name, image, fmt, **options):
    path = os.path.join(out, f"{name}_{image.size[0]}x{image.size[1]}.{fmt}")
    image.save(path, format={"jpg": "JPEG", "png": "PNG", "gif": "GIF"}[fmt], **options)
    return path


def segments(data):
    """Splits a JPEG into its marker segments up to the scan, and the rest."""
    assert data[:2] == b"\xff\xd8"
    pos, found = 2, []
    while True:
        marker = data[pos + 1]
        length = struct.unpack(">H", data[pos + 2:pos + 4])[0]
        found.append(data[pos:pos + 2 + length])
        pos += 2 + length
        if marker == 0xDA:
            return found, data[pos:]


def huffman_tables_first(name, image, **options):
    """As many cameras write them: the Huffman tables before the frame header."""
    buffer = io.BytesIO()
    image.save(buffer, format="JPEG", **options)
    parts, scan = segments(buffer.getvalue())
    tables = [p for p in parts if p[1] == 0xC4]
    rest = [p for p in parts if p[1] != 0xC4]
    frame = next(i for i, p in enumerate(rest) if p[1] in (0xC0, 0xC1, 0xC2))
    data = b"\xff\xd8" + b"".join(rest[:frame] + tables + rest[frame:]) + scan
    with open(os.path.join(out, f"{name}_{image.size[0]}x{image.size[1]}.jpg"), "wb") as f:
        f.write(data)


exif = Image.Exif()
exif[0x010F] = "Vellmar test camera"
exif[0x0110] = "Model 1281"

save("jpeg_baseline", picture("RGB", (160, 96)), "jpg", quality=85)
save("jpeg_progressive", picture("RGB", (160, 96)), "jpg", quality=85, progressive=True)
save("jpeg_gray", picture("L", (17, 250)), "jpg")
save("jpeg_exif_subsampled", picture("RGB", (1281, 3)), "jpg", exif=exif.tobytes(), subsampling=2)
save("jpeg_restart", picture("RGB", (64, 48)), "jpg", optimize=True)
huffman_tables_first("jpeg_tables_first", picture("RGB", (160, 96)), quality=90)
huffman_tables_first("jpeg_tables_first_exif", picture("RGB", (96, 160)), exif=exif.tobytes())

save("png_rgb", picture("RGB", (160, 96)), "png")
save("png_palette", picture("P", (33, 7)), "png")
save("png_gray16", picture("L", (5, 300)).convert("I;16"), "png")
save("png_rgba", picture("RGBA", (1, 1)), "png")

save("gif87", picture("P", (160, 96)), "gif")
save("gif89_transparent", picture("P", (45, 31)), "gif", transparency=0)
frames = [picture("P", (40, 30)), picture("P", (40, 30)).rotate(90)]
save("gif89_animated", frames[0], "gif", save_all=True, append_images=frames[1:], duration=100, loop=0)
