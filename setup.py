"""Makes a wheel of the Python package, which CMake builds. With the variable VXFNC_BUILD, the package is
taken from that build folder."""
import os
import pathlib
import re
import subprocess

import setuptools
from setuptools.command.build_py import build_py

root = pathlib.Path(__file__).resolve().parent
build = pathlib.Path(os.environ.get('VXFNC_BUILD', root / 'build/wheel'))


class Distribution(setuptools.Distribution):
    def has_ext_modules(self):
        return True


class BuildPackage(build_py):
    """Builds the package, and copies it to the folder that becomes the wheel."""

    def run(self):
        if 'VXFNC_BUILD' not in os.environ:
            subprocess.run(['cmake', '--preset', 'wheel'], cwd=root, check=True)
            subprocess.run(['cmake', '--build', build, '--target', 'python_package'], check=True)
        for path in sorted((build / 'python/vxfnc').iterdir()):
            if path.is_file():
                self.mkpath(f'{self.build_lib}/vxfnc')
                self.copy_file(str(path), f'{self.build_lib}/vxfnc')


(root / 'build').mkdir(exist_ok=True)
setuptools.setup(
    version=re.search(r'project\(vxfnc VERSION ([\d.]+)', (root / 'CMakeLists.txt').read_text())[1],
    packages=['vxfnc'], package_dir={'vxfnc': 'hosts/python/vxfnc'}, distclass=Distribution,
    cmdclass={'build_py': BuildPackage},
    options={'bdist_wheel': {'py_limited_api': 'cp311'}, 'egg_info': {'egg_base': 'build'},
             'build': {'build_base': 'build/setuptools'}})
