// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/Libc.h"

namespace cabinaudio::board {
namespace libc {

constinit Next<Open> open("open");
constinit Next<Open> open64("open64");
constinit Next<OpenAt> openat("openat");
constinit Next<OpenAt> openat64("openat64");
constinit Next<CheckedOpen> checkedOpen("__open_2");
constinit Next<CheckedOpen> checkedOpen64("__open64_2");
constinit Next<CheckedOpenAt> checkedOpenat("__openat_2");
constinit Next<CheckedOpenAt> checkedOpenat64("__openat64_2");
constinit Next<Fopen> fopen("fopen");
constinit Next<Fopen> fopen64("fopen64");
constinit Next<Mkdir> mkdir("mkdir");
constinit Next<Ioctl> ioctl("ioctl");
constinit Next<Ioctl> ioctlTime64("__ioctl_time64");
constinit Next<UseAddress> connect("connect");
constinit Next<UseAddress> bind("bind");
constinit Next<ShmOpen> shmOpen("shm_open");
constinit Next<ShmUnlink> shmUnlink("shm_unlink");
constinit Next<PthreadCreate> pthreadCreate("pthread_create");
}  // namespace libc

void findAllOfLibc() noexcept {
    using namespace libc;
    findEach(libc::open, libc::open64, libc::openat, libc::openat64);
    findEach(checkedOpen, checkedOpen64, checkedOpenat, checkedOpenat64);
    findEach(libc::fopen, libc::fopen64, libc::mkdir, libc::ioctl, ioctlTime64);
    findEach(libc::connect, libc::bind, shmOpen, shmUnlink, pthreadCreate);
}

}  // namespace cabinaudio::board
