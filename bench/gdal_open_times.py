"""Times GDAL's open of each file: the median of REPEAT opens, in microseconds."""
import os, statistics, sys, time
from osgeo import gdal

gdal.UseExceptions()
gdal.SetConfigOption("GDAL_PAM_ENABLED", "NO")
gdal.SetConfigOption("GDAL_DISABLE_READDIR_ON_OPEN", "EMPTY_DIR")
corpus = sys.argv[1]
names = [line.strip() for line in open(sys.argv[2]) if line.strip()]
repeat = int(sys.argv[3]) if len(sys.argv) > 3 else 20
for name in names:
    path = os.path.join(corpus, name)
    times = []
    ok = True
    for _ in range(repeat):
        start = time.perf_counter()
        try:
            ds = gdal.OpenEx(path, gdal.OF_RASTER | gdal.OF_READONLY, allowed_drivers=["NITF"])
            ds = None
        except RuntimeError:
            ok = False
        times.append(time.perf_counter() - start)
    print(f"{name}\t{statistics.median(times) * 1e6:.1f}\t{'ok' if ok else 'fail'}")
