def main():
    i = 0
    above = 0
    while i < 10000000:
        i += 1
        if i > 5000000:
            above += 1
    print(above)


main()
