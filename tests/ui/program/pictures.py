"""PNG pictures, made and read: ISO/IEC 15948."""

import random
import struct
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"
RGB, RGBA = 2, 6


def png(width, height, rows):
    """A picture of these rows of RGB samples."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, RGB, 0, 0, 0)
    return (SIGNATURE + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows)))
            + chunk(b"IEND", b""))


def quartered(width, height, colors):
    """A picture of four colours: upper left, upper right, lower left, lower right."""
    def row(left, right):
        return bytes(left) * (width // 2) + bytes(right) * (width - width // 2)

    upper, lower = row(*colors[:2]), row(*colors[2:])
    return png(width, height, [upper] * (height // 2) + [lower] * (height - height // 2))


def noise(width, height):
    """A picture that takes an encoder as long as any of its size."""
    dice = random.Random(width * height)
    return png(width, height, [dice.randbytes(3 * width) for _ in range(height)])


def size_and_quarters(content):
    """The size of a picture and the colours in the middle of its quarters."""
    width, height, samples, rows = _rows(content)

    def color(x, y):
        return tuple(rows[y][x * samples:x * samples + 3])

    columns, lines = (width // 4, width * 3 // 4), (height // 4, height * 3 // 4)
    return (width, height), [color(x, y) for y in lines for x in columns]


def _rows(content):
    if not content.startswith(SIGNATURE):
        raise ValueError("not a PNG picture")
    position, compressed = len(SIGNATURE), b""
    while position < len(content):
        length, kind = struct.unpack_from(">I4s", content, position)
        data = content[position + 8:position + 8 + length]
        position += length + 12
        if kind == b"IHDR":
            width, height, depth, color, _, _, interlaced = struct.unpack(">IIBBBBB", data)
        elif kind == b"IDAT":
            compressed += data
    if depth != 8 or color not in (RGB, RGBA) or interlaced:
        raise ValueError("a PNG picture of another kind than decoders write")
    samples = 3 if color == RGB else 4
    filtered = zlib.decompress(compressed)
    rows, above, stride = [], bytearray(width * samples), width * samples + 1
    for start in range(0, height * stride, stride):
        above = _unfiltered(filtered[start], filtered[start + 1:start + stride], above, samples)
        rows.append(above)
    return width, height, samples, rows


def _unfiltered(kind, filtered, above, samples):
    """Section 9, filtering."""
    row = bytearray(filtered)
    for i in range(len(row)):
        left = row[i - samples] if i >= samples else 0
        corner = above[i - samples] if i >= samples else 0
        predicted = [0, left, above[i], (left + above[i]) // 2, _nearest(left, above[i], corner)][kind]
        row[i] = (row[i] + predicted) & 0xFF
    return row


def _nearest(left, up, corner):
    estimate = left + up - corner
    return min((left, up, corner), key=lambda value: abs(estimate - value))
