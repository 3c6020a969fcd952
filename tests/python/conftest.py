"""Shared set-up of the Python module's tests: the module under test, the shared files and
GDAL's Python bindings, each skipped cleanly when absent."""

import csv
import json
import os
from pathlib import Path

import pytest


def shared_dir():
    return Path(os.environ.get("TESSEL_SHARED_DIR", "/nonexistent"))


def fixture_files():
    manifest = shared_dir() / "fixtures" / "manifest.json"
    if not manifest.is_file():
        return []
    entries = json.loads(manifest.read_text())["fixtures"]
    return [shared_dir() / "fixtures" / entry["file"] for entry in entries]


def corpus_files():
    """Corpus files that GDAL opens as NITF, by the corpus manifest."""
    manifest = shared_dir() / "corpus" / "MANIFEST.tsv"
    if not manifest.is_file():
        return []
    files = []
    with manifest.open(newline="") as table:
        for row in csv.DictReader(table, delimiter="\t"):
            status = row["gdal_reads_ok"]
            if status.startswith("yes (NITF") or status.startswith("partial"):
                files.append(shared_dir() / "corpus" / row["relative_path"])
    return files


@pytest.fixture(scope="session")
def gdal():
    osgeo = pytest.importorskip("osgeo.gdal")
    osgeo.UseExceptions()
    return osgeo


@pytest.fixture(scope="session")
def sample_file():
    path = Path(os.environ.get("TESSEL_SAMPLE_FILE", "/nonexistent"))
    if not path.is_file():
        pytest.skip("no sample file (TESSEL_SAMPLE_FILE)")
    return path
