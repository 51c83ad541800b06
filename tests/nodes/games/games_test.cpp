// The self-playing games over many simulated minutes on a fixed seed, pulled
// frame by frame without a device: what each game promises to keep true
// however long it plays.

#include "app/random.h"
#include "nodes/games/asteroidsnode.h"
#include "nodes/games/mazenode.h"
#include "nodes/games/pingpongnode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>
#include <queue>

namespace {

constexpr float Frame30 = 1.0f / 30.0f;

class Games : public ::testing::Test
{
protected:
    void SetUp() override { g_random.Seed(21); }
    template <class TNode>
    TNode* Add(const char* type)
    {
        return static_cast<TNode*>(m_graph.Add(type));
    }
    void Frame(CNode* node) { m_graph.Frame(node, Frame30); }

    CValueGraph m_graph;
};

// Passages of a maze, each counted once, and the cells reached from (0, 0).
struct SMazeShape
{
    int passages = 0;
    int reached = 0;
};

SMazeShape Shape(const CMazeNode& maze)
{
    const int X = maze.GetCellsX(), Y = maze.GetCellsY();
    SMazeShape shape;
    std::vector<bool> seen(size_t(X * Y), false);
    std::queue<std::pair<int, int>> open;
    open.push({0, 0});
    seen[0] = true;
    while (!open.empty()) {
        const auto [x, y] = open.front();
        open.pop();
        ++shape.reached;
        const uint8_t cell = maze.GetCell(x, y);
        const std::pair<uint8_t, std::pair<int, int>> steps[] = {{CMazeNode::PassageUp, {x, y + 1}},
                                                                 {CMazeNode::PassageDown, {x, y - 1}},
                                                                 {CMazeNode::PassageRight, {x + 1, y}},
                                                                 {CMazeNode::PassageLeft, {x - 1, y}}};
        for (const auto& [bit, to] : steps) {
            if (!(cell & bit))
                continue;
            const auto [nx, ny] = to;
            // A passage out of the grid or one-sided would be a broken wall.
            EXPECT_TRUE(nx >= 0 && ny >= 0 && nx < X && ny < Y) << x << "," << y;
            if (nx < 0 || ny < 0 || nx >= X || ny >= Y)
                continue;
            const uint8_t back = bit == CMazeNode::PassageUp      ? CMazeNode::PassageDown
                                 : bit == CMazeNode::PassageDown  ? CMazeNode::PassageUp
                                 : bit == CMazeNode::PassageRight ? CMazeNode::PassageLeft
                                                                  : CMazeNode::PassageRight;
            EXPECT_TRUE(maze.GetCell(nx, ny) & back) << x << "," << y;
            if (bit == CMazeNode::PassageUp || bit == CMazeNode::PassageRight)
                ++shape.passages;
            if (!seen[size_t(ny * X + nx)]) {
                seen[size_t(ny * X + nx)] = true;
                open.push({nx, ny});
            }
        }
    }
    return shape;
}

// The bit of `from` that leads to the neighbour `to`, 0 if they are not
// neighbours.
uint8_t DirectionTo(const CMazeNode::SCell& from, const CMazeNode::SCell& to)
{
    const int dx = to.x - from.x, dy = to.y - from.y;
    if (dx == 0 && dy == 1)
        return CMazeNode::PassageUp;
    if (dx == 0 && dy == -1)
        return CMazeNode::PassageDown;
    if (dx == 1 && dy == 0)
        return CMazeNode::PassageRight;
    if (dx == -1 && dy == 0)
        return CMazeNode::PassageLeft;
    return 0;
}

} // namespace

TEST_F(Games, PingPongKeepsTheBallInTheFieldAndBothPaddlesReturnIt)
{
    auto* game = Add<CPingPongNode>("PingPong");
    m_graph.m_context.m_aspect = 16.0f / 9.0f;
    int returns[2] = {0, 0};
    float lastVx = 0.0f;
    for (int frame = 0; frame < 10 * 60 * 30; ++frame) {
        Frame(game);
        const auto& ball = game->GetBall();
        const float hw = game->GetFieldWidth() * 0.5f, hh = game->GetFieldHeight() * 0.5f;
        // One frame's step is the most the ball overshoots before it turns.
        const float slackX = std::fabs(ball.vx) * Frame30 + 1e-4f, slackY = std::fabs(ball.vy) * Frame30 + 1e-4f;
        ASSERT_LE(std::fabs(ball.x), hw + slackX) << frame;
        ASSERT_LE(std::fabs(ball.y), hh + slackY) << frame;
        if (frame > 0 && ball.vx * lastVx < 0.0f) {
            // It turned at a paddle: the paddle stands in front of it.
            const int side = ball.vx < 0.0f ? 1 : 0;
            const auto& paddle = game->GetPaddle(side);
            EXPECT_LE(std::fabs(paddle.y - ball.y), paddle.size[1] + ball.size[1] + slackY)
                << "paddle " << side + 1 << " at frame " << frame;
            ++returns[side];
        }
        lastVx = ball.vx;
    }
    // The ball crosses a 1.8-wide field at 0.36 a second: a return each five
    // seconds, on each side.
    EXPECT_GT(returns[0], 50);
    EXPECT_GT(returns[1], 50);
    EXPECT_NEAR(returns[0], returns[1], 1);
    EXPECT_EQ(game->GetQuads().GetCount(), 3);
}

TEST_F(Games, EveryMazeIsASpanningTreeAndItsWallsCloseTheRest)
{
    struct SRow
    {
        int x, y, seed;
    };
    for (const SRow& row : {SRow{5, 5, 1}, SRow{20, 20, 1}, SRow{7, 13, 99}, SRow{40, 9, 12345}}) {
        SCOPED_TRACE(testing::Message() << row.x << "x" << row.y << " seed " << row.seed);
        CValueGraph graph;
        auto* maze = static_cast<CMazeNode*>(graph.Add("Maze"));
        CValueGraph::Set(maze, "NumCellsX", std::to_string(row.x));
        CValueGraph::Set(maze, "NumCellsY", std::to_string(row.y));
        CValueGraph::Set(maze, "Seed", std::to_string(row.seed));
        graph.Frame(maze, Frame30);
        const int cells = row.x * row.y;
        const SMazeShape shape = Shape(*maze);
        EXPECT_EQ(shape.reached, cells);
        EXPECT_EQ(shape.passages, cells - 1);
        // Each cell has four sides; each passage opens two of them.
        EXPECT_EQ(maze->GetWallCount(), 4 * cells - 2 * (cells - 1));
    }
}

TEST_F(Games, MazeGenerationDependsOnTheSeedOnly)
{
    const auto grid = [](int seed) {
        CValueGraph graph;
        auto* maze = static_cast<CMazeNode*>(graph.Add("Maze"));
        CValueGraph::Set(maze, "Seed", std::to_string(seed));
        graph.Frame(maze, Frame30);
        std::vector<uint8_t> cells;
        for (int y = 0; y < maze->GetCellsY(); ++y)
            for (int x = 0; x < maze->GetCellsX(); ++x)
                cells.push_back(maze->GetCell(x, y));
        return cells;
    };
    EXPECT_EQ(grid(4), grid(4));
    EXPECT_NE(grid(4), grid(5));
}

TEST_F(Games, TheMazeWalkerNeverPassesThroughAWall)
{
    auto* maze = Add<CMazeNode>("Maze");
    m_graph.Set(maze, "NumCellsX", "8");
    m_graph.Set(maze, "NumCellsY", "6");
    Frame(maze);
    CMazeNode::SCell current = maze->GetCurrentCell(), next = maze->GetNextCell();
    ASSERT_NE(DirectionTo(current, next), 0);
    int steps = 0, deadEndTurns = 0;
    int turningFrames = 0;
    for (int frame = 0; frame < 10 * 60 * 30; ++frame) {
        Frame(maze);
        const CMazeNode::SCell c = maze->GetCurrentCell(), n = maze->GetNextCell();
        if (!(c == current && n == next)) {
            // Arrived where it was heading, and sets off through a passage.
            ASSERT_EQ(c, next) << frame;
            const uint8_t bit = DirectionTo(c, n);
            ASSERT_NE(bit, 0) << frame;
            ASSERT_TRUE(maze->GetCell(c.x, c.y) & bit) << frame;
            deadEndTurns += n == current ? 1 : 0;
            ++steps;
            current = c;
            next = n;
        }
        // The eye stays on the line between the two cells' centres, at
        // eye height, so it never stands inside a wall.
        const SVec3& eye = maze->GetCamera().m_eye;
        EXPECT_NEAR(eye.y, CMazeNode::EyeHeight, 1e-4f);
        const float along = c.x == n.x ? eye.x - float(c.x) * CMazeNode::CellSize
                                        : eye.z - float(c.y) * CMazeNode::CellSize;
        ASSERT_NEAR(along, 0.0f, 1e-3f) << frame;
        turningFrames += maze->GetWalker() == CMazeNode::EWalker::Turning ? 1 : 0;
    }
    // Two seconds a cell; turns take two seconds more.
    EXPECT_GT(steps, 100);
    EXPECT_GT(deadEndTurns, 3);
    EXPECT_GT(turningFrames, 0);
}

TEST_F(Games, AsteroidsKeepsItsRocksInTheirSlotsAndStartsTheNextLevelOnAnEmptyField)
{
    auto* game = Add<CAsteroidsNode>("Asteroids");
    m_graph.Set(game, "NumAsteroids", "4");
    m_graph.Set(game, "NumFragments", "2");
    m_graph.Set(game, "LevelTime", "100000"); // only an empty field ends a level
    m_graph.m_context.m_aspect = 16.0f / 9.0f;
    Frame(game);
    ASSERT_EQ(game->GetSlotCount(), 8);
    int levels = game->GetLevelCount(), exploded = 0;
    for (int frame = 0; frame < 20 * 60 * 30; ++frame) {
        const int levelBefore = game->GetLevelCount();
        Frame(game);
        const float W = game->GetFieldWidth(), H = game->GetFieldHeight();
        int flying = 0;
        for (int i = 0; i < game->GetSlotCount(); ++i) {
            const auto& rock = game->GetAsteroid(i);
            if (rock.state == CAsteroidsNode::EState::Free)
                continue;
            exploded += rock.state == CAsteroidsNode::EState::Exploding && rock.timer > 1.99f ? 1 : 0;
            flying += rock.state == CAsteroidsNode::EState::Flying ? 1 : 0;
            // Rocks wrap round once half their radius is past an edge.
            ASSERT_GE(rock.x, -rock.radius) << frame;
            ASSERT_LE(rock.x, W + rock.radius) << frame;
            ASSERT_GE(rock.y, -rock.radius) << frame;
            ASSERT_LE(rock.y, H + rock.radius) << frame;
        }
        for (int b = 0; b < CAsteroidsNode::BulletSlots; ++b) {
            const auto& bullet = game->GetBullet(b);
            if (bullet.alive) {
                ASSERT_TRUE(bullet.x >= 0.0f && bullet.x <= W && bullet.y >= 0.0f && bullet.y <= H) << frame;
            }
        }
        const auto& ship = game->GetShip();
        ASSERT_TRUE(ship.x >= 0.0f && ship.x <= W && ship.y >= 0.0f && ship.y <= H) << frame;
        // Ship, bullets and every slot's outline: never more lines than that.
        ASSERT_LE(game->GetLines().GetCount(), 4 + CAsteroidsNode::BulletSlots + 8 * CAsteroidsNode::Segments);
        if (game->GetLevelCount() != levelBefore) {
            // A new level: all its large rocks fly again.
            EXPECT_EQ(flying, 4) << frame;
            ++levels;
        }
    }
    // The ship clears the field again and again.
    EXPECT_GT(levels, 10);
    EXPECT_GT(exploded, 100);
}
