#pragma once

// Memory that is kept back for the host's own words. What tells a script, a person or a client that
// there is no memory has to be put together in memory too; so has what keeps the program going
// behind such an error. From any thread.
namespace memory_reserve {

// Sets the reserve aside. From then on `operator new` comes to it.
void Keep() noexcept;

// While one lives, memory that the system refuses to this thread comes out of the reserve. Only for
// work that takes little: an error's text, a reply, a line. Scripts never run inside.
class Use {
 public:
  Use() noexcept;
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  ~Use();  // sets aside again what was taken, as soon as there is memory for it
};

// For allocators beside `operator new`: true when something was given back to the system for this
// thread, so that asking again makes sense.
bool Release() noexcept;

}  // namespace memory_reserve
