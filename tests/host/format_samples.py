"""Makes the files of tests/host/data/formats: one small plate in every format that is read, put together byte by byte
and not by the program's own writers. Run it in that folder to make them anew. The folders are named as the formats are
in the program's table; the fuzz targets begin with them."""

import io
import math
import os
import struct
import zipfile
import zlib

# 5 x 3 samples, the row of the lowest y first, in micrometres; 20 x 50 micrometres apart. No two alike, one missing.
NAN = math.nan
PLATE = [[1.5, 2.0, 3.5, 4.0, 5.0], [6.0, 7.5, NAN, 9.0, 10.0], [11.0, 12.0, 13.0, -14.5, 15.0]]
DX, DY = 20e-6, 50e-6
WIDTH, HEIGHT = 5, 3
BOTTOM = [z for row in PLATE for z in row]
TOP = [z for row in reversed(PLATE) for z in row]


def text_matrix():
    rows = "\n".join(",".join("%g" % z for z in row) for row in PLATE)
    return ("# Width: 100 um\n# Height: 0.15 mm\n# Value units: um\n" + rows + "\n").encode()


def comma_matrix():
    rows = "\n".join("\t".join(("%g" % (z / 1000)).replace(".", ",") for z in row) for row in PLATE)
    return ("# Width: 0.1 mm\n# Height: 0.15 mm\n# Value units: mm\n" + rows + "\n").encode()


def gwyddion_matrix():
    """As Gwyddion exports it: the channel's name, and the row on top first."""
    rows = "\n".join("\t".join("%g" % (z * 1e-6) for z in row) for row in reversed(PLATE))
    return ("# Channel: plate\n# Width: 0.10 mm\n# Height: 0.15 mm\n# Value units: m\n" + rows + "\n").encode()


def points():
    lines = ["%.9g %.9g %.9g" % (i * DX * 1e3, j * DY * 1e3, z / 1000)
             for j, row in enumerate(PLATE) for i, z in enumerate(row) if not math.isnan(z)]
    lines = lines[5:] + lines[:5]  # in any order
    return ("\n".join(lines) + "\n").encode()


def comma_points():
    return points().replace(b" ", b";").replace(b".", b",")


def ascii_sdf():
    keys = ("ManufacID = test\nCreateDate = 010120200000\nModDate = 010120200000\nNumPoints = 5\nNumProfiles = 3\n"
            "Xscale = 2.0E-5\nYscale = 5e-05\nZscale = 1.0E-6\nZresolution = 1e-9\nCompression = 0\nDataType = 7\nCheckType = 0\n")
    words = ["BAD" if math.isnan(z) else "%.4f" % z for z in BOTTOM]
    return ("aISO-1.0\n" + keys + "*\n" + " ".join(words) + "\n*\n<Operator>nobody</Operator>\n*").encode()


def gwyddion_sdf():
    """As Gwyddion exports it: a version of its own, and the row on top first."""
    keys = ("ManufacID   = Gwyddion\nCreateDate  = 010120200000\nModDate     = 010120200000\nNumPoints   = 5\nNumProfiles = 3\n"
            "Xscale      = 2.000000e-05\nYscale      = 5.000000e-05\nZscale      = 1.000000e+00\nZresolution = -1\n"
            "Compression = 0\nDataType    = 3\nCheckType   = 0\nNumDataSet  = 1\nNanPresent  = 0\n")
    return ("aBCR-0.0\n" + keys + "*\n" + "".join("%g\n" % (z * 1e-6) for z in TOP)).encode()


def binary_sdf(kind=7, scale=1e-6, encode=lambda z: struct.pack("<d", -1.7976931348623157e308 if math.isnan(z) else z),
               magic=b"bISO-1.0"):
    header = magic + b"test".ljust(10) + b"010120200000" * 2 + struct.pack("<HHddddBBB", 5, 3, DX, DY, scale, 1e-9, 0, kind, 0)
    assert len(header) == 81
    return header + b"".join(map(encode, BOTTOM))


def integer_sdf():
    return binary_sdf(6, 1e-9, lambda z: struct.pack("<i", -2**31 if math.isnan(z) else round(z * 1000)), b"bBCR-1.0")


def gsf():
    header = (b"Gwyddion Simple Field 1.0\nXRes = 5\nYRes = 3\nXReal = 1e-4\nYReal = 1.5e-4\nXYUnits = m\nZUnits = m\n"
              b"Title = plate\n")
    header += b"\0" * (4 - len(header) % 4)
    return header + struct.pack("<15f", *[z * 1e-6 for z in TOP])


def bcr_header(kind, extra):
    return ("fileformat = %s\nheadersize = 2048\nxpixels = 5\nypixels = 3\nxlength = 100000\nylength = 150000\nxunit = nm\n"
            "yunit = nm\nzunit = nm\n%s" % (kind, extra)).ljust(2048, "\n")


def bcr():
    levels = [32767 if math.isnan(z) else round(z * 2) for z in BOTTOM]
    return bcr_header("bcrstm", "bit2nm = 500\nintelmode = 0\nvoidpixels = 1\n").encode() + struct.pack(">15h", *levels)


def bcrf():
    values = [3.4028234e38 if math.isnan(z) else z * 1000 for z in BOTTOM]
    header = bcr_header("bcrf_unicode", "bit2nm = 1\nintelmode = 1\nvoidpixels = 1\n")
    return header.encode("utf-16-le") + struct.pack("<15f", *values)


def al3d():
    def tag(key, value):
        return key.encode().ljust(20, b"\0") + str(value).encode().ljust(30, b"\0") + b"\r\n"

    tags = [("Version", 1), ("TagCount", 6), ("Cols", 5), ("Rows", 3), ("DepthImageOffset", 17 + 8 * 52 + 8),
            ("PixelSizeXMeter", DX), ("PixelSizeYMeter", DY), ("InvalidPixelValue", "3.0e+15")]
    data = b"AliconaImaging\0\r\n" + b"".join(tag(*t) for t in tags) + b"comment "
    for row in reversed(PLATE):
        data += struct.pack("<5f", *[3e15 if math.isnan(z) else z * 1e-6 for z in row]) + b"\0" * 4
    return data


def archive(members):
    file = io.BytesIO()
    with zipfile.ZipFile(file, "w") as zipped:
        for name, content in members.items():
            zipped.writestr(zipfile.ZipInfo(name), content, zipfile.ZIP_DEFLATED)
    return file.getvalue()


def x3p_description(axis, record3):
    return ('<?xml version="1.0" encoding="UTF-8"?><p:ISO5436_2 xmlns:p="http://www.opengps.eu/2008/ISO5436_2"><Record1>'
            "<Revision>ISO5436 - 2000</Revision><FeatureType>SUR</FeatureType><Axes>"
            "<CX><AxisType>I</AxisType><DataType>D</DataType><Increment>2e-5</Increment><Offset>0</Offset></CX>"
            "<CY><AxisType>I</AxisType><DataType>D</DataType><Increment>5e-5</Increment><Offset>0</Offset></CY>"
            "<CZ>" + axis + "</CZ></Axes></Record1><Record3><MatrixDimension><SizeX>5</SizeX><SizeY>3</SizeY><SizeZ>1</SizeZ>"
            "</MatrixDimension>" + record3 + "</Record3></p:ISO5436_2>").encode()


def x3p():
    """16-bit integers, and a mask for what is missing."""
    samples = struct.pack("<15h", *[0 if math.isnan(z) else round(z * 4) for z in BOTTOM])
    bits = sum(1 << k for k, z in enumerate(BOTTOM) if not math.isnan(z))
    axis = "<AxisType>A</AxisType><DataType>I</DataType><Increment>2.5e-7</Increment><Offset>0</Offset>"
    link = ("<DataLink><PointDataLink>bindata/data.bin</PointDataLink><ValidPointsLink>bindata/valid.bin</ValidPointsLink>"
            "</DataLink>")
    return archive({"main.xml": x3p_description(axis, link), "bindata/data.bin": samples,
                    "bindata/valid.bin": struct.pack("<H", bits)})


def listed_x3p():
    """Samples in the description."""
    data = "".join("<Datum/>" if math.isnan(z) else "<Datum>%.9g</Datum>" % (z * 1e-6) for z in BOTTOM)
    axis = "<AxisType>A</AxisType><DataType>D</DataType>"
    return archive({"main.xml": x3p_description(axis, "<DataList>" + data + "</DataList>")})


NOTES = [("Height unit", "um"), ("Spacing unit", "um"), ("Spacing x", "20"), ("Spacing y", "50")]
LEVEL_NOTES = NOTES + [("Z scale", "0.25"), ("Z offset", "-25"), ("Missing level", "0")]
# As Gwyddion states what the lowest and the highest level mean, and the extent of all cells.
GWYDDION_NOTES = [("Gwy::XReal", "0.0001"), ("Gwy::YReal", "0.00015"), ("Gwy::XOffset", "0"), ("Gwy::YOffset", "0"),
                  ("Gwy::ZMin", "-2e-05"), ("Gwy::ZMax", "4.5535e-05"), ("Gwy::XYUnit", "m"), ("Gwy::ZUnit", "m")]
LEVELS = [0 if math.isnan(z) else round((z + 25) * 4) for z in TOP]


def tiff(bits, kind, data, notes, order="<", orientation=1):
    description = "QV_3D height map\n" + "".join("%s: %s\n" % note for note in notes) + "\0"
    entries = [(256, 3, 1, WIDTH), (257, 3, 1, HEIGHT), (258, 3, 1, bits), (259, 3, 1, 1), (262, 3, 1, 1),
               (270, 2, len(description), None), (273, 4, 1, None), (274, 3, 1, orientation), (277, 3, 1, 1), (278, 3, 1, HEIGHT),
               (279, 4, 1, len(data)), (339, 3, 1, kind)]
    text_at = 8 + 2 + 12 * len(entries) + 4
    data_at = text_at + len(description) + len(description) % 2
    head = (b"II*\0" if order == "<" else b"MM\0*") + struct.pack(order + "IH", 8, len(entries))
    for tag, type_, count, value in entries:
        value = {270: text_at, 273: data_at}.get(tag, value)
        packed = struct.pack(order + "HH", value, 0) if type_ == 3 else struct.pack(order + "I", value)
        head += struct.pack(order + "HHI", tag, type_, count) + packed
    head += struct.pack(order + "I", 0) + description.encode()
    return head.ljust(data_at, b"\0") + data


def float_tiff():
    return tiff(32, 3, struct.pack("<15f", *TOP), NOTES)


def grey_tiff():
    """Most significant byte first, and the rows from the bottom upwards, which a tag says."""
    levels = [0 if math.isnan(z) else round((z + 25) * 4) for z in BOTTOM]
    return tiff(16, 1, struct.pack(">15H", *levels), LEVEL_NOTES, ">", 4)


def png(notes=None, levels=None):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    rows = b"".join(b"\0" + struct.pack(">5H", *(levels or LEVELS)[5 * j:5 * j + 5]) for j in range(HEIGHT))
    texts = b"".join(chunk(b"tEXt", ("%s\0%s" % note).encode()) for note in notes or LEVEL_NOTES)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 16, 0, 0, 0, 0)) + texts +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


SAMPLES = {
    "csv": {"plate.csv": text_matrix, "comma.txt": comma_matrix, "gwyddion.txt": gwyddion_matrix},
    "xyz": {"plate.xyz": points, "comma.xyz": comma_points},
    "sdf": {"ascii.sdf": ascii_sdf, "plate.sdf": binary_sdf, "integer.sdf": integer_sdf, "gwyddion.sdf": gwyddion_sdf},
    "x3p": {"plate.x3p": x3p, "listed.x3p": listed_x3p},
    "gsf": {"plate.gsf": gsf},
    "bcr": {"plate.bcr": bcr, "plate.bcrf": bcrf},
    "al3d": {"plate.al3d": al3d},
    "tiff": {"float.tif": float_tiff, "grey.tif": grey_tiff},
    "png": {"plate.png": png},
}


def all_samples():
    """Name and bytes of every file."""
    return {name: make() for files in SAMPLES.values() for name, make in files.items()}


if __name__ == "__main__":
    for folder, files in SAMPLES.items():
        os.makedirs(folder, exist_ok=True)
        for name, make in files.items():
            with open(os.path.join(folder, name), "wb") as file:
                file.write(make())
