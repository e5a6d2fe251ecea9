// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/LibraryCalls.h"

namespace cabinaudio::recorder::libc {

constinit Next<Connect> connect("connect");
constinit Next<Send> send("send");
constinit Next<SendTo> sendto("sendto");
constinit Next<SendMessage> sendmsg("sendmsg");
constinit Next<Receive> recv("recv");
constinit Next<ReceiveFrom> recvfrom("recvfrom");
constinit Next<ReceiveMessage> recvmsg("recvmsg");
constinit Next<CheckedReceive> checkedRecv("__recv_chk");
constinit Next<CheckedReceiveFrom> checkedRecvfrom("__recvfrom_chk");
constinit Next<Close> close("close");
constinit Next<Duplicate> dup2("dup2");
constinit Next<DuplicateWithFlags> dup3("dup3");
constinit Next<Map> mmap("mmap");
constinit Next<Map64> mmap64("mmap64");
constinit Next<Unmap> munmap("munmap");
constinit Next<ShmOpen> shmOpen("shm_open");
constinit Next<Ioctl> ioctl("ioctl");
constinit Next<Ioctl> ioctlTime64("__ioctl_time64");
constinit Next<SystemCall> systemCall("syscall");
constinit Next<SemaphoreCall> semaphorePost("sem_post");
constinit Next<SemaphoreCall> semaphoreWait("sem_wait");

void findAll() noexcept {
    findEach(libc::connect, libc::send, libc::sendto, libc::sendmsg);
    findEach(libc::recv, libc::recvfrom, libc::recvmsg, checkedRecv, checkedRecvfrom);
    findEach(libc::close, libc::dup2, libc::dup3);
    findEach(libc::mmap, libc::mmap64, libc::munmap, shmOpen, libc::ioctl, ioctlTime64);
    findEach(systemCall, semaphorePost, semaphoreWait);
}

}  // namespace cabinaudio::recorder::libc
