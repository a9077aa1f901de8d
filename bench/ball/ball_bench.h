#pragma once

namespace brisko::bench {

// CPU use of this process over the given seconds, with the ball shown and then hidden.
void measureIdle(int seconds);
// Injected touch datagrams that move the ball, timed until the X server has the window there.
void measureTouchToMove(int moves);

} // namespace brisko::bench
