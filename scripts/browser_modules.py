"""Lets a file browser find a module that is not installed: in a mount namespace of its own, where nothing else sees it."""

import os
import subprocess

# The pkg-config package and its variable that name a browser's extension folder.
EXTENSION_FOLDERS = {
    "caja": ("libcaja-extension", "extensiondir"),
    "nemo": ("libnemo-extension", "extensiondir"),
    "nautilus": ("libnautilus-extension-4", "extensiondir"),
    "thunar": ("thunarx-3", "extensionsdir"),
}


def extension_folder(browser):
    package, variable = EXTENSION_FOLDERS[browser]
    return subprocess.run(["pkg-config", "--variable=" + variable, package], check=True, text=True,
                          stdout=subprocess.PIPE).stdout.strip()


def mount(*arguments):
    subprocess.run(["mount", *arguments], check=True)


def offer_module(browser, module_folder, offered):
    """Makes the browser find the module, and no other, in its own extension folder: seen in this namespace alone."""
    folder = extension_folder(browser)
    os.makedirs(offered)
    for name in os.listdir(module_folder) if module_folder else []:
        os.symlink(os.path.join(module_folder, name), os.path.join(offered, name))
    if browser == "caja":  # its package brings no folder, but a variable
        return {"CAJA_EXTENSION_DIRS": offered}
    if not os.path.isdir(folder):
        mount("-t", "tmpfs", "none", os.path.dirname(folder))
        os.makedirs(folder)
    mount("--bind", offered, folder)
    return {}
