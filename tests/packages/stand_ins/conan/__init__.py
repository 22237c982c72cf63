"""Stands in for Conan: what the recipe needs of it, doing what Conan's documentation says."""
import types


class ConanFile:
    def __init__(self, recipe_folder, folder, shared):
        self.settings = types.SimpleNamespace(os="Linux", build_type="Debug")
        self.options = types.SimpleNamespace(shared=shared, fPIC=True)
        self.recipe_folder = recipe_folder
        self.export_sources_folder = self.source_folder = folder / "source"
        self.build_folder, self.package_folder = folder / "build", folder / "package"
        self.cpp_info = types.SimpleNamespace(set_property=lambda name, value: None)
        self.cache_variables = {}
