#!/usr/bin/env python3
"""Draws the sample images the server seeds its media folder with.

Run from this folder; it rewrites logo.gif, leaf.png and sunset.jpg. Only the standard library is
used: the GIF, PNG and baseline JPEG encoders are the small ones below.
"""
import math
import struct
import zlib

# ---------------------------------------------------------------- pictures (RGB rows)

def logo(w=120, h=60):
    navy, gold, white = (31, 58, 95), (242, 193, 78), (255, 255, 255)
    rows = []
    for y in range(h):
        row = []
        for x in range(w):
            c = navy
            if 10 <= x < 50 and 10 <= y < 50:
                c = gold
            if (x - 85) ** 2 + (y - 30) ** 2 <= 18 ** 2:
                c = white
            row.append(c)
        rows.append(row)
    return rows, [navy, gold, white]


def leaf(size=64):
    rows = []
    for y in range(size):
        row = []
        for x in range(size):
            d = math.hypot(x - 31.5, y - 31.5)
            alpha = max(0.0, min(1.0, 28.5 - d))
            shade = int(139 - 60 * (y / size))
            row.append((46, shade, 87, int(alpha * 255)))
        rows.append(row)
    return rows


def sunset(w=160, h=96):
    top, bottom = (255, 140, 66), (58, 28, 113)
    rows = []
    for y in range(h):
        t = y / (h - 1)
        row = []
        for x in range(w):
            c = [int(a + (b - a) * t) for a, b in zip(top, bottom)]
            if (x - 80) ** 2 + (y - 70) ** 2 <= 22 ** 2 and y < 70:
                c = [255, 220, 120]
            row.append(tuple(c))
        rows.append(row)
    return rows

# ---------------------------------------------------------------- GIF

def gif(rows, palette):
    h, w = len(rows), len(rows[0])
    table = palette + [(0, 0, 0)] * (4 - len(palette))
    indices = [table.index(c) for row in rows for c in row]
    min_code = 2
    clear, end = 1 << min_code, (1 << min_code) + 1
    out, bits, nbits = bytearray(), 0, 0

    def emit(code, width):
        nonlocal bits, nbits
        bits |= code << nbits
        nbits += width
        while nbits >= 8:
            out.append(bits & 0xFF)
            bits >>= 8
            nbits -= 8

    dictionary = {(i,): i for i in range(clear)}
    next_code, width = end + 1, min_code + 1
    emit(clear, width)
    prefix = (indices[0],)
    for k in indices[1:]:
        seq = prefix + (k,)
        if seq in dictionary:
            prefix = seq
            continue
        emit(dictionary[prefix], width)
        if next_code < 4096:
            dictionary[seq] = next_code
            next_code += 1
            if next_code > (1 << width) and width < 12:
                width += 1
        else:
            emit(clear, width)
            dictionary = {(i,): i for i in range(clear)}
            next_code, width = end + 1, min_code + 1
        prefix = (k,)
    emit(dictionary[prefix], width)
    emit(end, width)
    if nbits:
        out.append(bits & 0xFF)
    data = bytearray(b"GIF89a")
    data += struct.pack("<HHBBB", w, h, 0x80 | (min_code - 1), 0, 0)
    for c in table:
        data += bytes(c)
    data += b"," + struct.pack("<HHHHB", 0, 0, w, h, 0) + bytes([min_code])
    for i in range(0, len(out), 255):
        block = out[i:i + 255]
        data += bytes([len(block)]) + block
    data += b"\x00;"
    return bytes(data)

# ---------------------------------------------------------------- PNG

def png(rows):
    h, w = len(rows), len(rows[0])
    raw = b"".join(b"\x00" + b"".join(bytes(p) for p in row) for row in rows)

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", w, h, 8, 6, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))

# ---------------------------------------------------------------- baseline JPEG (4:4:4)

ZIGZAG = [0, 1, 8, 16, 9, 2, 3, 10, 17, 24, 32, 25, 18, 11, 4, 5, 12, 19, 26, 33, 40, 48, 41, 34,
          27, 20, 13, 6, 7, 14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37,
          44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63]
LUMA_Q = [16, 11, 10, 16, 24, 40, 51, 61, 12, 12, 14, 19, 26, 58, 60, 55, 14, 13, 16, 24, 40, 57,
          69, 56, 14, 17, 22, 29, 51, 87, 80, 62, 18, 22, 37, 56, 68, 109, 103, 77, 24, 35, 55, 64,
          81, 104, 113, 92, 49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99]
CHROMA_Q = [17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99, 24, 26, 56, 99, 99, 99,
            99, 99, 47, 66, 99, 99, 99, 99, 99, 99] + [99] * 32
DC_LUMA = ([0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0], list(range(12)))
DC_CHROMA = ([0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0], list(range(12)))
AC_LUMA = ([0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d], bytes.fromhex(
    "01020300041105122131410613516107227114328191a1082342b1c11552d1f02433627282090a161718191a25262728"
    "292a3435363738393a434445464748494a535455565758595a636465666768696a737475767778797a83848586878889"
    "8a92939495969798999aa2a3a4a5a6a7a8a9aab2b3b4b5b6b7b8b9bac2c3c4c5c6c7c8c9cad2d3d4d5d6d7d8d9dae1e2"
    "e3e4e5e6e7e8e9eaf1f2f3f4f5f6f7f8f9fa"))
AC_CHROMA = ([0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 0x77], bytes.fromhex(
    "000102031104052131061241510761711322328108144291a1b1c109233352f0156272d10a162434e125f11718191a"
    "262728292a35363738393a434445464748494a535455565758595a636465666768696a737475767778797a8283848586"
    "8788898a92939495969798999aa2a3a4a5a6a7a8a9aab2b3b4b5b6b7b8b9bac2c3c4c5c6c7c8c9cad2d3d4d5d6d7d8d9"
    "dae2e3e4e5e6e7e8e9eaf2f3f4f5f6f7f8f9fa"))


def huffman_codes(table):
    counts, symbols = table
    codes, code, k = {}, 0, 0
    for length in range(1, 17):
        for _ in range(counts[length - 1]):
            codes[symbols[k]] = (code, length)
            code += 1
            k += 1
        code <<= 1
    return codes


def jpeg(rows, quality=85):
    h, w = len(rows), len(rows[0])
    scale = 5000 / quality if quality < 50 else 200 - 2 * quality

    def table(base):
        return [max(1, min(255, (q * scale + 50) // 100)) for q in base]

    qtabs = [[int(v) for v in table(LUMA_Q)], [int(v) for v in table(CHROMA_Q)]]
    dc = [huffman_codes(DC_LUMA), huffman_codes(DC_CHROMA)]
    ac = [huffman_codes(AC_LUMA), huffman_codes(AC_CHROMA)]
    cos = [[math.cos((2 * x + 1) * u * math.pi / 16) for x in range(8)] for u in range(8)]

    out, bits, nbits = bytearray(), 0, 0

    def put(code, length):
        nonlocal bits, nbits
        bits = (bits << length) | code
        nbits += length
        while nbits >= 8:
            byte = (bits >> (nbits - 8)) & 0xFF
            out.append(byte)
            if byte == 0xFF:
                out.append(0)
            nbits -= 8
        bits &= (1 << nbits) - 1

    def magnitude(v):
        size = abs(v).bit_length()
        return size, (v if v >= 0 else v + (1 << size) - 1)

    def block(samples, q, dc_codes, ac_codes, previous):
        coeffs = [0] * 64
        for v in range(8):
            for u in range(8):
                s = sum(samples[y * 8 + x] * cos[u][x] * cos[v][y] for y in range(8) for x in range(8))
                cu = math.sqrt(0.5) if u == 0 else 1.0
                cv = math.sqrt(0.5) if v == 0 else 1.0
                coeffs[v * 8 + u] = round(0.25 * cu * cv * s / q[v * 8 + u])
        zz = [coeffs[i] for i in ZIGZAG]
        size, bitsv = magnitude(zz[0] - previous)
        put(*dc_codes[size])
        if size:
            put(bitsv, size)
        run = 0
        for k in range(1, 64):
            if zz[k] == 0:
                run += 1
                continue
            while run > 15:
                put(*ac_codes[0xF0])
                run -= 16
            size, bitsv = magnitude(zz[k])
            put(*ac_codes[(run << 4) | size])
            put(bitsv, size)
            run = 0
        if run:
            put(*ac_codes[0x00])
        return zz[0]

    def pixel(x, y):
        r, g, b = rows[min(y, h - 1)][min(x, w - 1)][:3]
        return (0.299 * r + 0.587 * g + 0.114 * b - 128,
                -0.168736 * r - 0.331264 * g + 0.5 * b,
                0.5 * r - 0.418688 * g - 0.081312 * b)

    previous = [0, 0, 0]
    for by in range(0, h, 8):
        for bx in range(0, w, 8):
            ycc = [pixel(bx + x, by + y) for y in range(8) for x in range(8)]
            for comp in range(3):
                t = 0 if comp == 0 else 1
                previous[comp] = block([p[comp] for p in ycc], qtabs[t], dc[t], ac[t], previous[comp])
    if nbits:
        put((1 << (8 - nbits)) - 1, 8 - nbits)

    def segment(marker, body):
        return bytes([0xFF, marker]) + struct.pack(">H", len(body) + 2) + body

    data = b"\xff\xd8" + segment(0xE0, b"JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00")
    for i, q in enumerate(qtabs):
        data += segment(0xDB, bytes([i]) + bytes(q[ZIGZAG[k]] for k in range(64)))
    data += segment(0xC0, struct.pack(">BHHB", 8, h, w, 3) + bytes([1, 0x11, 0, 2, 0x11, 1, 3, 0x11, 1]))
    for cls, ident, table in ((0, 0, DC_LUMA), (1, 0, AC_LUMA), (0, 1, DC_CHROMA), (1, 1, AC_CHROMA)):
        data += segment(0xC4, bytes([(cls << 4) | ident]) + bytes(table[0]) + bytes(table[1]))
    data += segment(0xDA, bytes([3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0]))
    return data + bytes(out) + b"\xff\xd9"


if __name__ == "__main__":
    rows, palette = logo()
    with open("logo.gif", "wb") as f:
        f.write(gif(rows, palette))
    with open("leaf.png", "wb") as f:
        f.write(png(leaf()))
    with open("sunset.jpg", "wb") as f:
        f.write(jpeg(sunset()))
