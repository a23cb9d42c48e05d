"""A medium with a fault, one that is pulled out, and one from which the power is cut."""

import shutil
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from _scenario import LIMIT, Scenario
from console import Storage, program

BATCH_FILE = "/opt/zemo/Save_TASKDATA_Files_To_PC.bat"


class Damaged(Scenario):
    """A medium on which one file cannot be looked at: its place in the table of files is empty."""

    options = {"media": {"/mnt/usb1": Storage("ext4", 4), "/mnt/sdcard1": Storage("vfat", 4)}}
    FILES = 6
    DAMAGED = 4

    def setUp(self):
        super().setUp()
        if not shutil.which("debugfs"):
            self.skipTest("no debugfs here that could damage a file system (package e2fsprogs)")
        if self.is_mounted("/mnt/usb1"):
            self.shell("umount /mnt/usb1")
        self.shell("mkfs.ext4 -q -F /dev/vdb; mount -t ext4 /dev/vdb /mnt/usb1; mkdir /mnt/usb1/data")
        for number in range(1, self.FILES + 1):
            self.shell(f"head -c {number}0 /dev/zero >/mnt/usb1/data/{number}.bin")
        self.order = [Path(line).name for line in self.shell("find /mnt/usb1/data -type f").splitlines()]
        self.damage(f"data/{self.DAMAGED}.bin")

    def damage(self, path):
        """On the desk: the medium is brought out, damaged and brought back."""
        self.shell("umount /mnt/usb1; dd if=/dev/vdb of=/out/medium bs=64k 2>/dev/null")
        image = self.machine.out / "medium"
        subprocess.run(["debugfs", "-w", "-R", f"clri {path}", str(image)], check=True, capture_output=True)
        self.shell("dd if=/out/medium of=/dev/vdb bs=64k conv=fsync 2>/dev/null; mount -t ext4 /dev/vdb /mnt/usb1")

    def test_listing_fails_on_the_file_and_takes_the_medium_away(self):
        ended = self.board("files", "/mnt/usb1/data/")
        lines = ended.text.splitlines()
        damaged = f"{self.DAMAGED}.bin"
        # What came before it in the order of the folder has been listed.
        before = self.order[: self.order.index(damaged)]
        self.assertEqual(lines, [f"error stat on file /mnt/usb1/data/{damaged}", *before, "failed 0"])
        self.assertEqual((ended.status, ended.errors), (0, ""))
        self.assertFalse(self.is_mounted("/mnt/usb1"))
        self.assertTrue(self.is_mounted("/mnt/sdcard1"))

    def test_listing_leaves_the_medium_to_a_program_that_has_it_open(self):
        reader = self.machine.start_job(["/bin/sh", "-c", "exec 3</mnt/usb1/data/1.bin; echo open; exec sleep 600"])
        limit = time.monotonic() + LIMIT
        while b"open" not in reader.stdout:
            self.assertLess(time.monotonic(), limit)
        ended = self.board("files", "/mnt/usb1/data/")
        self.assertTrue(ended.text.endswith("failed 0\n"), ended.text)
        self.assertTrue(self.is_mounted("/mnt/usb1"))
        reader.signal("KILL")
        reader.wait(LIMIT)
        self.board("files", "/mnt/usb1/data/")
        self.assertFalse(self.is_mounted("/mnt/usb1"))

    def test_listing_of_sub_directories_tells_of_the_file_and_goes_on(self):
        self.shell("mkdir -p /mnt/usb1/data/maps")
        self.assertEqual(self.done("directories", "/mnt/usb1/data/"),
                         f"error stat on file /mnt/usb1/data/{self.DAMAGED}.bin\ncomplete 1\n")
        self.assertTrue(self.is_mounted("/mnt/usb1"))


class PowerCut(Scenario):
    def test_leaves_the_batch_file_on_the_medium(self):
        """Not without the "sync" that follows the copy."""
        self.machine.shell("echo unsynchronised >/mnt/usb1/lost.txt", LIMIT)
        self.machine.power_cut()
        self.assertEqual(self.machine.shell("cat /mnt/usb1/lost.txt").text, "")
        self.shell(f"echo kept >{BATCH_FILE}")
        self.done("copy-batch-file", "/mnt/usb1/")
        self.machine.power_cut()
        self.assertEqual(self.shell("cat /mnt/usb1/Save_TASKDATA_Files_To_PC.bat"), "kept")


class PulledOut(Scenario):
    """A USB stick that goes without a word."""

    options = {"modules": ("usb", "ext4"), "media": {}}
    FILES = 900
    plugged = 0

    def setUp(self):
        super().setUp()
        PulledOut.plugged += 1
        self.stick = f"stick{PulledOut.plugged}"
        image = self.machine.out / self.stick
        with open(image, "wb") as file:
            file.truncate(8 << 20)
        if not self.shell("ls /sys/bus/usb/devices"):
            self.ask("device_add", driver="usb-ehci", id="usb")
        self.ask("blockdev-add", driver="file", filename=str(image), **{"node-name": self.stick})
        self.ask("device_add", driver="usb-storage", id=self.stick, bus="usb.0", drive=self.stick)
        self.wait_for("[ -b /dev/sda ]")
        self.shell("mkfs.ext4 -q -F -b 1024 /dev/sda; mkdir -p /mnt/usb1")
        self.mount()
        self.shell(f"mkdir /mnt/usb1/data; for n in $(seq {self.FILES}); do echo 12345 >/mnt/usb1/data/$n.bin; done")
        # What has been written is forgotten: the kernel has to read it again.
        self.shell("umount /mnt/usb1")
        self.mount()

    def ask(self, command, **arguments):
        return self.machine._control.ask(command, **arguments)

    def mount(self):
        self.shell("mount -t ext4 -o noatime,inode_readahead_blks=0 /dev/sda /mnt/usb1")

    def wait_for(self, condition):
        self.shell(f"for i in $(seq 250); do {condition} && exit 0; sleep 0.1; done; exit 1")

    def pull(self):
        self.ask("device_del", id=self.stick)
        self.wait_for("[ ! -b /dev/sda ]")

    def test_in_place_is_listed(self):
        lines = self.done("files", "/mnt/usb1/data/").splitlines()
        self.assertEqual(sorted(lines[:-1]), sorted(f"{number}.bin" for number in range(1, self.FILES + 1)))
        self.assertEqual(lines[-1], f"complete {6 * self.FILES}")
        self.pull()
        self.done("unmount", "/mnt/usb1/")

    def test_in_the_middle_of_a_listing_fails_it_and_is_unmounted(self):
        """The program is halted when it has read names of the folder, and goes on when the stick is gone."""
        path = program("zemo_board_program")
        self.shell(f"{path} files /mnt/usb1/data/ >/tmp/said 2>&1 & echo $! >/tmp/lister; read -r lister </tmp/lister; "
                   "until [ /proc/$lister/fd/3 -ef /mnt/usb1/data ] && ! grep -q 'pos:[^0-9]*0$' /proc/$lister/fdinfo/3; "
                   "do kill -0 $lister || exit 1; done; kill -s STOP $lister")
        self.assertEqual(self.shell("cat /tmp/said"), "")
        self.pull()
        self.assertTrue(self.is_mounted("/mnt/usb1"))
        self.shell("read -r lister </tmp/lister; kill -s CONT $lister; "
                   "while [ -d /proc/$lister ] && ! grep -q zombie /proc/$lister/status; do sleep 0.1; done")
        lines = self.shell("cat /tmp/said").splitlines()
        self.assertRegex(lines[0], r"^error stat on file /mnt/usb1/data/\d+\.bin$")
        self.assertEqual(lines[-1], "failed 0")
        self.assertLess(len(lines) - 2, self.FILES)
        self.assertFalse(self.is_mounted("/mnt/usb1"))

    def test_cannot_be_listed_where_the_kernel_has_forgotten_it_and_stays_until_it_is_unmounted(self):
        """A folder that cannot be opened is no failing listing: nothing is said and nothing unmounted."""
        self.pull()
        self.shell("echo 3 >/proc/sys/vm/drop_caches")
        self.assertEqual(self.done("files", "/mnt/usb1/data/"), "failed 0\n")
        self.assertTrue(self.is_mounted("/mnt/usb1"))
        self.assertEqual(self.done("unmount", "/mnt/usb1/"), "run\n")
        self.assertFalse(self.is_mounted("/mnt/usb1"))
