"""Times GDAL's NITF CreateCopy of the large uncompressed files' pixels, as bench_write
writes them: the pixels held in a MEM dataset, written with blocks of 1024 into the
temporary folder.

Usage: /usr/bin/python3 gdal_write.py LARGE_DIR [REPEAT]
Prints per file the median time in milliseconds and the written MiB/s.
"""
import os
import statistics
import sys
import tempfile
import time

from osgeo import gdal

gdal.SetConfigOption("GDAL_PAM_ENABLED", "NO")

FILES = ["large_nc_u8_8192_t1024", "large_nc_u8x3_8192_imodeP_t1024"]


def in_memory(path):
    """The pixels alone, as bench_write holds them: no metadata to carry over."""
    source = gdal.Open(path)
    memory = gdal.GetDriverByName("MEM").Create(
        "pixels", source.RasterXSize, source.RasterYSize, source.RasterCount,
        source.GetRasterBand(1).DataType)
    for band in range(1, source.RasterCount + 1):
        memory.GetRasterBand(band).WriteRaster(
            0, 0, source.RasterXSize, source.RasterYSize,
            source.GetRasterBand(band).ReadRaster())
    return memory


def timed_copy(memory, out):
    start = time.perf_counter()
    written = gdal.GetDriverByName("NITF").CreateCopy(out, memory, options=["BLOCKSIZE=1024"])
    if written is None:
        sys.exit(f"CreateCopy failed: {gdal.GetLastErrorMsg()}")
    written = None
    return time.perf_counter() - start


def main():
    folder = sys.argv[1]
    repeat = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    out = os.path.join(tempfile.gettempdir(), "gdal-bench-write.ntf")
    for name in FILES:
        memory = in_memory(os.path.join(folder, name + ".ntf"))
        size = memory.RasterXSize * memory.RasterYSize * memory.RasterCount
        times = [timed_copy(memory, out) for _ in range(repeat)]
        median = statistics.median(times)
        print(f"{name}: {median * 1000:.0f} ms, {size / median / 2**20:.0f} MiB/s")
        os.remove(out)


if __name__ == "__main__":
    main()
