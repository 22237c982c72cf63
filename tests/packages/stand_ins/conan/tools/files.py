import fnmatch
import pathlib
import shutil


def copy(conanfile, pattern, src, dst):
    src, dst = pathlib.Path(src), pathlib.Path(dst)
    for file in src.glob(pattern.replace("/*", "/**/*")):
        name = file.relative_to(src)
        if file.is_file() and fnmatch.fnmatch(str(name), pattern):
            (dst / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(file, dst / name)


def rmdir(conanfile, path):
    if pathlib.Path(path).exists():
        shutil.rmtree(path)
