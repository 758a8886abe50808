# SPDX-License-Identifier: GPL-3.0-or-later
"""The state of a folder after a power cut: what was not brought to the device is lost.

The preloaded library keeps, by inode, each file's content and each folder's entries as of their
last sync. Two systems are played: one that writes folders' entries on its own but no file's bytes
(`entries_too`: renamed files that nobody synced are empty), and one that writes nothing on its own
(names that nobody synced are gone as well).
"""
import os
import shutil


class Shadow:
    """Keeps the state at the start, and makes the state after the cut."""

    def __init__(self, folder, shadow):
        self.folder, self.shadow = folder, shadow
        os.makedirs(shadow)
        for root, _, files in os.walk(folder):
            self._keep_entries(root)
            for name in files:
                path = os.path.join(root, name)
                if os.path.islink(path):
                    continue
                inode = os.lstat(path).st_ino
                shutil.copyfile(path, self._name("f", inode))
                os.link(path, self._name("k", inode))

    def _name(self, letter, inode):
        return os.path.join(self.shadow, f"{letter}{inode}")

    def _keep_entries(self, folder):
        with open(self._name("d", os.lstat(folder).st_ino), "w", encoding="utf-8") as file:
            for entry in os.scandir(folder):
                kind = "d" if entry.is_dir(follow_symlinks=False) else "f"
                file.write(f"{kind} {entry.inode()} {entry.name}\n")

    def cut_power(self, entries_too):
        made = self.folder + ".cut"
        root = os.lstat(self.folder).st_ino
        self._make(root, self.folder, made, entries_too)
        shutil.rmtree(self.folder)
        os.rename(made, self.folder)

    def _entries(self, inode, real, entries_lost):
        if not entries_lost:
            return [("d" if entry.is_dir(follow_symlinks=False) else "f", entry.inode(), entry.name)
                    for entry in os.scandir(real)]
        kept = self._name("d", inode)
        if not os.path.exists(kept):
            return []
        with open(kept, encoding="utf-8") as file:
            return [tuple(line.rstrip("\n").split(" ", 2)) for line in file]

    def _make(self, inode, real, made, entries_lost):
        os.mkdir(made)
        real = real if not entries_lost else None
        for kind, number, name in self._entries(inode, real or self.folder, entries_lost):
            target = os.path.join(made, name)
            if kind == "d":
                self._make(int(number), real and os.path.join(real, name), target, entries_lost)
                continue
            kept = self._name("f", int(number))
            if os.path.exists(kept):
                shutil.copyfile(kept, target)
            else:
                with open(target, "wb"):
                    pass
