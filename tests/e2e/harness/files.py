"""Files read by independent programs, and pages made for the simulated desk."""

import pathlib
import re
import struct
import subprocess
import zipfile
import zlib

from .screen import Picture


def run(*command, **options):
    """Output of a program that must succeed."""
    done = subprocess.run([str(part) for part in command], capture_output=True, timeout=60,
                          **options)
    if done.returncode != 0:
        raise AssertionError(f"{command[0]} ended with {done.returncode}: "
                             f"{done.stderr.decode(errors='replace')}")
    return done.stdout


def read_ppm(data):
    header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
    if header:
        return Picture(int(header[1]), int(header[2]), data[header.end():])
    header = re.match(rb"P5\s+(\d+)\s+(\d+)\s+255\s", data)
    gray = data[header.end():]
    rgb = bytearray(len(gray) * 3)
    rgb[0::3] = rgb[1::3] = rgb[2::3] = gray
    return Picture(int(header[1]), int(header[2]), rgb)


def read_jpeg(path):
    return read_ppm(run("djpeg", "-pnm", path))


def write_jpeg(path, picture, quality=90):
    ppm = b"P6\n%d %d\n255\n" % (picture.width, picture.height) + picture.rgb
    pathlib.Path(path).write_bytes(run("cjpeg", "-quality", quality, input=ppm))


def halves(width, height, left, right):
    """A picture of two colours; what is left and what is right shows how it was turned."""
    row = bytes(left) * (width // 2) + bytes(right) * (width - width // 2)
    return Picture(width, height, row * height)


def read_png(path):
    """Pixels of an 8-bit RGB or gray PNG without interlace (ISO/IEC 15948)."""
    data = pathlib.Path(path).read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", data[:8]
    at, packed, header = 8, b"", None
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        assert zlib.crc32(kind + body) == struct.unpack(">I", data[at + 8 + length:][:4])[0]
        header = struct.unpack(">IIBBBBB", body) if kind == b"IHDR" else header
        packed += body if kind == b"IDAT" else b""
        at += 12 + length
    width, height, depth, colour, _, _, interlace = header
    assert depth == 8 and colour in (0, 2) and not interlace, header
    channels = 3 if colour == 2 else 1
    rows = _unfilter(zlib.decompress(packed), width * channels, height, channels)
    if channels == 1:
        rows = bytes(value for value in rows for _ in range(3))
    return Picture(width, height, rows)


def _unfilter(raw, stride, height, channels):
    result = bytearray()
    above = bytearray(stride)
    for row in range(height):
        kind, line = raw[row * (stride + 1)], bytearray(raw[row * (stride + 1) + 1:][:stride])
        for i in range(stride):
            left = line[i - channels] if i >= channels else 0
            corner = above[i - channels] if i >= channels else 0
            line[i] = (line[i] + (0, left, above[i], (left + above[i]) // 2,
                                  _paeth(left, above[i], corner))[kind]) & 255
        result += line
        above = line
    return result


def _paeth(left, above, corner):
    estimate = left + above - corner
    return min((left, above, corner), key=lambda value: abs(estimate - value))


def read_bmp_size(path):
    """Width, height and bits a pixel of a Windows bitmap whose size fields agree."""
    data = pathlib.Path(path).read_bytes()
    assert data[:2] == b"BM"
    file_size, _, offset = struct.unpack("<III", data[2:14])
    _, width, height, planes, bits = struct.unpack("<IiiHH", data[14:30])
    assert file_size == len(data) and planes == 1
    assert len(data) - offset >= (width * bits + 31) // 32 * 4 * abs(height)
    return width, abs(height), bits


def pdf_pages(path, folder):
    """Checks a PDF and renders its pages at 20 dots an inch."""
    run("qpdf", "--check", path)
    count = int(run("qpdf", "--show-npages", path))
    prefix = pathlib.Path(folder) / "page"
    run("pdftoppm", "-r", "20", path, prefix)
    pages = sorted(pathlib.Path(folder).glob("page-*.ppm"))
    assert len(pages) == count, (pages, count)
    pictures = [read_ppm(page.read_bytes()) for page in pages]
    for page in pages:
        page.unlink()
    return pictures


def pdf_images(path):
    """(width, height, encoding) of the images in a PDF, in order."""
    lines = run("pdfimages", "-list", path).decode().splitlines()[2:]
    return [(int(line.split()[3]), int(line.split()[4]), line.split()[8]) for line in lines]


def ofd_images(path):
    """Checks an OFD container and gives the JPEG pictures in it, in the order of their names."""
    run("unzip", "-tq", path)
    with zipfile.ZipFile(path) as archive:
        names = archive.namelist()
        assert "OFD.xml" in names, names
        return [archive.read(name) for name in sorted(names) if name.lower().endswith((".jpg", ".jpeg"))]


def ofd_page_count(path):
    """Pages that the document of an OFD container lists."""
    with zipfile.ZipFile(path) as archive:
        document = next(name for name in archive.namelist() if name.endswith("Document.xml"))
        return len(re.findall(rb"<ofd:Page\s", archive.read(document)))


def tiff_pages(path):
    """(width, height) of the pages of a TIFF file."""
    text = run("tiffinfo", path).decode()
    return [(int(width), int(height)) for width, height in
            re.findall(r"Image Width: (\d+) Image Length: (\d+)", text)]
