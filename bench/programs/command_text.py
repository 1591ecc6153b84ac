from bench_peer import display_size


def main():
    for i in range(200000):
        exec(f"display_size(a={i}, b=2, c=3, d=4, e=5)")
    print("done")


main()
