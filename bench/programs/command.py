import bench_peer


def main():
    size = bench_peer.display_size
    for i in range(1000000):
        r = size(a=1)
    print(r["w"])


main()
