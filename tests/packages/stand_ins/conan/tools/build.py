def check_min_cppstd(conanfile, cppstd):
    assert isinstance(cppstd, int) and conanfile
