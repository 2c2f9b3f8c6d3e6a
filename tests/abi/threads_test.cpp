// Several host threads at once: on one part, on parts of their own, on files of their own.
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 40;

using Fields = std::vector<std::pair<std::string, std::string>>;

// Runs the body in kThreads threads, which all live until the last is done: a thread that ends may
// hand its identity, and with it its places in iterations, to the next.
template <typename Body>
void InThreads(Body body) {
  std::barrier meeting(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&meeting, &body, number] {
      meeting.arrive_and_wait();
      body(number);
      meeting.arrive_and_wait();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// gtest's expectations may be used from threads; the counts here keep the messages few.
struct Faults {
  std::atomic<int> count{0};
  void Unless(bool right) {
    if (!right) {
      ++count;
    }
  }
};

TEST(PartThreads, IterateTheHeadersOfOnePartEachForItself) {
  const Host host;
  std::string head;
  Fields expected;
  for (int i = 0; i < 50; ++i) {
    head += std::string("X-") + std::to_string(i) + ": " + std::to_string(i * i) + "\r\n";
    expected.emplace_back(std::string("X-") + std::to_string(i),
                          std::string(" ") + std::to_string(i * i));
  }
  const Message message(host, head + "\r\nbody\r\n");
  Faults faults;
  InThreads([&](int) {
    for (int round = 0; round < kRounds; ++round) {
      faults.Unless(Host::Headers(message.get()) == expected);
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(PartThreads, HaveNoPlaceUntilTheyRewind) {
  const Host host;
  const Message message(host,
                        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                        "--b\r\nT: 1\r\n\r\none\r\n--b--\r\n");
  EXPECT_EQ(message->RewindHeaders(), 1);
  EXPECT_EQ(message->RewindChildren(), 1);
  Faults faults;
  InThreads([&](int) {
    std::array<char, 256> name{};
    std::array<char, 1024> value{};
    PartObject* child = nullptr;
    faults.Unless(message->NextHeader(name.data(), value.data()) == 0);
    faults.Unless(message->NextChild(&child) == 0);
    faults.Unless(message->RewindHeaders() == 1);
    faults.Unless(message->NextHeader(name.data(), value.data()) == 1);
    faults.Unless(message->NextChild(&child) == 0);
    faults.Unless(message->RewindChildren() == 1);
    faults.Unless(message->NextChild(&child) == 1);
    faults.Unless(message->NextChild(&child) == 0);
  });
  EXPECT_EQ(faults.count, 0);
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1) << "this thread's place is its own";
  EXPECT_STREQ(name.data(), "Content-Type");
}

TEST(PartThreads, StandAtDifferentPlacesOfOnePart) {
  const Host host;
  std::string head;
  for (int i = 0; i < kThreads; ++i) {
    head += std::string("X-") + std::to_string(i) + ": v\r\n";
  }
  const Message message(host, head + "\r\nbody\r\n");
  std::barrier step(kThreads);
  Faults faults;
  InThreads([&](int number) {
    std::array<char, 256> name{};
    std::array<char, 1024> value{};
    faults.Unless(message->RewindHeaders() == 1);
    for (int i = 0; i < number; ++i) {
      faults.Unless(message->NextHeader(name.data(), value.data()) == 1);
    }
    step.arrive_and_wait();  // thread n stands before field n
    faults.Unless(message->NextHeader(name.data(), value.data()) == 1);
    faults.Unless(name.data() == std::string("X-") + std::to_string(number));
  });
  EXPECT_EQ(faults.count, 0);
}

// The places belong to the thread's identity, which the system gives to a new thread when the old
// one has ended. KEEP(thread-identity-reused)
TEST(PartThreads, FindThePlacesOfAnEndedThreadWithTheirIdentity) {
  const Host host;
  const Message message(host, "A: 1\r\nB: 2\r\n\r\nbody\r\n");
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  ::pthread_t first{};
  ::pthread_t second{};
  int result = -1;
  std::thread([&] {
    first = ::pthread_self();
    message->RewindHeaders();
    message->NextHeader(name.data(), value.data());
  }).join();
  std::thread([&] {
    second = ::pthread_self();
    result = message->NextHeader(name.data(), value.data());
  }).join();
  if (::pthread_equal(first, second) == 0) {
    EXPECT_EQ(result, 0);
    GTEST_SKIP() << "the system gave the second thread another identity";
  }
  EXPECT_EQ(result, 1);
  EXPECT_STREQ(name.data(), "B");
}

TEST(PartThreads, IterateTheChildrenOfOnePartEachForItself) {
  const Host host;
  std::string body;
  for (int i = 0; i < 20; ++i) {
    body += "--b\r\nT: " + std::to_string(i) + "\r\n\r\ntext\r\n";
  }
  const Message message(host,
                        "Content-Type: multipart/mixed; boundary=b\r\n\r\n" + body + "--b--\r\n");
  const std::vector<PartObject*> expected = Host::Children(message.get());
  ASSERT_EQ(expected.size(), 20U);
  Faults faults;
  InThreads([&](int) {
    for (int round = 0; round < kRounds; ++round) {
      faults.Unless(Host::Children(message.get()) == expected);
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(PartThreads, ReadTheBodiesOfOnePart) {
  const Host host;
  const Message message(host, "Content-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n");
  Faults faults;
  InThreads([&](int) {
    for (int round = 0; round < kRounds; ++round) {
      faults.Unless(Host::Decoded(message.get()) == "hello");
      faults.Unless(Host::Encoded(message.get()) == "aGVsbG8=\r\n");
      faults.Unless(message->GetDecodedBodyBuffer() != nullptr);
      faults.Unless(message->GetEncodedBodyBuffer() != nullptr);
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(PartThreads, SetHeadersOfOnePartWhileOthersRead) {
  const Host host;
  const Message message(host, "A: 1\r\nDKIM-Signature: s\r\n\r\nbody\r\n");
  Faults faults;
  InThreads([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      if (number % 2 == 0) {
        const std::string name =
            std::string("X-") + std::to_string(number) + "-" + std::to_string(round);
        faults.Unless(message->SetHeader(name.c_str(), "v", 0) == 1);
        faults.Unless(message->SetHeader("A", std::to_string(round).c_str(), 1) == 1);
        faults.Unless(message->SetHeaderW(L"A", L"wide", 1) == 1);
      } else {
        const Fields fields = Host::Headers(message.get());
        faults.Unless(fields.size() >= 2 && fields.front().first == "A" &&
                      fields.back().first == "DKIM-Signature");
      }
    }
  });
  EXPECT_EQ(faults.count, 0);
  std::set<std::string> names;
  for (const auto& [name, value] : Host::Headers(message.get())) {
    names.insert(name);
  }
  EXPECT_EQ(names.size(), 2U + kThreads / 2 * kRounds);
}

TEST(PackerThreads, OpenAndCloseMessagesOfTheirOwn) {
  const Host host;
  Faults faults;
  InThreads([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string body = std::to_string(number) + "-" + std::to_string(round) + "\r\n";
      const std::string bytes =
          "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nT: 1\r\n\r\n" + body +
          "--b\r\nContent-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n--b--\r\n\r\n";
      PartObject* const message = host.Open(bytes);
      const std::vector<PartObject*> children = Host::Children(message);
      faults.Unless(children.size() == 2 && Host::Encoded(children[0]) == body &&
                    Host::Decoded(children[1]) == "hello");
      faults.Unless(host.Close(message, round % 2 == 0) == bytes);
      faults.Unless(host.WithFooter("A: b\n\n" + body, "S") == "A: b\n\n" + body + "\nS\n\n");
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(PackerThreads, GetDifferentNumbersForTheirMessages) {
  const Host host;
  std::array<std::vector<std::string>, kThreads> names;
  InThreads([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      PartObject* const message = host.Open("A: b\r\n\r\nbody\r\n");
      names.at(static_cast<std::size_t>(number)).push_back(Host::FileName(message));
      host.Discard(message);
    }
  });
  std::set<std::string> numbers;
  for (const std::vector<std::string>& list : names) {
    for (const std::string& name : list) {
      numbers.insert(name.substr(0, 18));
    }
  }
  EXPECT_EQ(numbers.size(), static_cast<std::size_t>(kThreads * kRounds));
  EXPECT_EQ(*numbers.begin(), "filename-00000000-");
  EXPECT_EQ(*numbers.rbegin(), "filename-00000239-");
}

TEST(PackerThreads, MakePackersOfTheirOwn) {
  const Host host;
  auto* const request = host.Export<int(int, StandardPacker**)>("RequestInterfaceW");
  auto* const release = host.Export<int(StandardPacker**)>("ReleaseInterfaceW");
  Faults faults;
  InThreads([&](int) {
    for (int round = 0; round < kRounds; ++round) {
      StandardPacker* packer = nullptr;
      faults.Unless(request(1, &packer) == 1 && packer->SupportsVersion(1) == 1);
      faults.Unless(release(&packer) == 1);
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(FileThreads, UseFilesOfTheirOwn) {
  const Host host;
  const TempDir folder;
  const FileOperations& files = host.Files();
  Faults faults;
  InThreads([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string name = folder.Path(std::to_string(number) + "-" + std::to_string(round));
      const std::string text(static_cast<std::size_t>(round) * 300 + 1, 'x');
      WriteFile(host, name, text);
      faults.Unless(ReadFile(host, name) == text);
      faults.Unless(files.rename(name.c_str(), (name + "-b").c_str()) == 0);
      faults.Unless(SizeOf(host, name) == -1);
      faults.Unless(SizeOf(host, name + "-b") == static_cast<std::int64_t>(text.size()));
      faults.Unless(files.isOnDisk((name + "-b").c_str()) == -1);
      if (round % 4 == 0) {
        faults.Unless(files.commit((name + "-b").c_str()) == 0);
        faults.Unless(files.isOnDisk((name + "-b").c_str()) == 0);
      }
      faults.Unless(files.remove((name + "-b").c_str()) == 0);
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(NameThreads, ConvertWideNamesForTheFirstTimeTogether) {
  const Host host;
  const std::string bytes =
      "Content-Type: text/plain; name=\"=?iso-8859-1?Q?caf=E9?=\"\r\n\r\nbody\r\n";
  std::vector<std::unique_ptr<Message>> messages;
  for (int i = 0; i < kThreads; ++i) {
    messages.push_back(std::make_unique<Message>(host, bytes));
  }
  Faults faults;
  InThreads([&](int number) {
    std::array<wchar_t, 513> name{};
    for (int round = 0; round < kRounds; ++round) {
      faults.Unless((*messages.at(static_cast<std::size_t>(number)))->GetNameW(name.data()) == 1);
      faults.Unless(std::wstring(name.data()) == L"caf\u00E9");
    }
  });
  EXPECT_EQ(faults.count, 0);
}

}  // namespace
}  // namespace zevka::test
